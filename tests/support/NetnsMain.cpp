// Entry point of the network test binary. Every process of it (test
// discovery and each test) first moves into namespaces of its own:
//
// - for a user other than root, a user namespace in which it is root (its
//   own uid and gid mapped to 0, as `unshare -r` does): the kernel lets an
//   ordinary user make the namespaces below only inside one of these;
// - a network namespace with only the loopback interface up, so nothing it
//   sends reaches the machine's own interfaces;
// - a PID namespace whose first process (an init that does nothing but
//   reap) runs the tests as its child. When that init ends, the kernel kills
//   everything left in the namespace: a task the tests started (which forks
//   and is reparented), a tracer, anything of theirs, however the tests
//   ended, a failed assertion, an abort or a time limit's kill included;
// - a mount namespace with a /proc of that PID namespace, so that the pids
//   the tests see (PID files, waitpid) are the ones /proc knows.
//
// Where the kernel refuses one of them (unprivileged user namespaces turned
// off, a container without the rights), the tests are still listed, and
// each one is reported skipped with the reason instead of run on the
// machine's own interfaces.
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/TargetCommand.h"

namespace {

// What a parent reports for a child that ended with Status: its exit
// status, or 128 + the signal that killed it, as a shell does.
int StatusCode(int Status)
{
    return WIFEXITED(Status) ? WEXITSTATUS(Status) : 128 + WTERMSIG(Status);
}

pid_t WaitFor(pid_t Pid, int& Status)
{
    pid_t ended;
    while ((ended = waitpid(Pid, &Status, 0)) < 0 && errno == EINTR) {
    }
    return ended;
}

// A child with nothing of the parent's buffered output to write twice; -1
// (and said why) when there is none.
pid_t ForkFlushed()
{
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) {
        std::perror("fork");
    }
    return child;
}

// "What: the errno text", for the step that just failed.
std::string Failure(const char* What)
{
    return std::string(What) + ": " + std::strerror(errno);
}

// Marks every test that starts as skipped, with the reason the namespaces
// could not be made, before its fixture's SetUp runs.
class CSkipEveryTest : public testing::EmptyTestEventListener {
public:
    explicit CSkipEveryTest(std::string Reason) : m_Reason(std::move(Reason)) {}

    void OnTestStart(const testing::TestInfo&) override
    {
        GTEST_SKIP() << "no namespaces of its own for this test: " << m_Reason;
    }

private:
    const std::string m_Reason;
};

// The tests in this process; each is skipped for WhyNot when it is not
// empty.
int RunTests(int argc, char** argv, const std::string& WhyNot)
{
    testing::InitGoogleTest(&argc, argv);
    if (!WhyNot.empty()) {
        testing::UnitTest::GetInstance()->listeners().Append(new CSkipEveryTest(WhyNot));
    }
    return RUN_ALL_TESTS();
}

bool WriteFile(const char* Path, const std::string& Text)
{
    const int file = open(Path, O_WRONLY | O_CLOEXEC);
    const bool written = file >= 0 && write(file, Text.data(), Text.size()) == static_cast<ssize_t>(Text.size());
    const int error = errno;
    if (file >= 0) {
        close(file);
    }
    errno = error;
    return written;
}

// Under a user-mode emulator the binary is one process with the emulator's
// own threads, and the kernel makes a user namespace only for a process of
// one thread (EINVAL): the binary starts again, under the emulator, inside
// a user namespace that unshare, a native program, makes for it. Returns
// only when that cannot be done.
void RestartInAUserNamespace(int argc, char** argv)
{
    if (std::system("unshare --map-root-user true") != 0) {
        return;
    }
    std::vector<const char*> words{"unshare", "--map-root-user", "sh", "-c",
                                   "exec " VESK_TARGET_EMULATOR " \"$0\" \"$@\""};
    words.insert(words.end(), argv, argv + argc);
    words.push_back(nullptr);
    std::fflush(nullptr);
    execvp(words[0], const_cast<char* const*>(words.data()));
}

// Root in a user namespace of its own, its one uid and gid those of the
// caller. "" when done, else what failed.
std::string BecomeRootOfAUserNamespace(int argc, char** argv)
{
    const uid_t uid = geteuid();
    const gid_t gid = getegid();
    if (unshare(CLONE_NEWUSER) != 0) {
        const int error = errno;
        if (error == EINVAL && Emulator() != nullptr) {
            RestartInAUserNamespace(argc, argv);
            return "unshare --map-root-user failed, and the emulator's threads keep the binary from making a user "
                   "namespace itself";
        }
        errno = error;
        return Failure("unshare(CLONE_NEWUSER), a user namespace");
    }
    // Without this the kernel refuses an unprivileged gid map: dropping a
    // group with setgroups could otherwise grant access that group denied.
    if (!WriteFile("/proc/self/setgroups", "deny")) {
        return Failure("/proc/self/setgroups");
    }
    if (!WriteFile("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1")) {
        return Failure("/proc/self/uid_map");
    }
    if (!WriteFile("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1")) {
        return Failure("/proc/self/gid_map");
    }
    return "";
}

// Process 1 of the namespace: runs the tests as its child, reaps whatever
// is reparented to it meanwhile, and returns the tests' status. Its end
// ends the namespace.
int RunTestsAsInit(int argc, char** argv)
{
    // Killed with the binary's first process (by a time limit, say), so
    // that the namespace goes with it.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // A mount namespace of the init's own: the binary's first process stays
    // outside the PID namespace and keeps the /proc that knows it.
    if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return RunTests(argc, argv, Failure("a mount namespace"));
    }
    if (mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) != 0) {
        return RunTests(argc, argv, Failure("mount /proc"));
    }
    if (std::system("ip link set lo up") != 0) {
        return RunTests(argc, argv, "`ip link set lo up` failed in the network namespace");
    }
    const pid_t tests = ForkFlushed();
    if (tests < 0) {
        return 1;
    }
    if (tests == 0) {
        std::exit(RunTests(argc, argv, ""));
    }
    for (;;) {
        int status = 0;
        const pid_t ended = WaitFor(-1, status);
        if (ended == tests || ended < 0) {
            return ended == tests ? StatusCode(status) : 1;
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (geteuid() != 0) {
        const std::string whyNot = BecomeRootOfAUserNamespace(argc, argv);
        if (!whyNot.empty()) {
            return RunTests(argc, argv, whyNot);
        }
    }
    if (unshare(CLONE_NEWNET | CLONE_NEWPID) != 0) {
        return RunTests(argc, argv, Failure("unshare(CLONE_NEWNET | CLONE_NEWPID)"));
    }
    const pid_t init = ForkFlushed();
    if (init < 0) {
        return 1;
    }
    if (init == 0) {
        const int code = RunTestsAsInit(argc, argv);
        // Neither the init's leftovers nor a sanitizer's exit checks: the
        // tests' process had those. Its own output (the tests skipped when
        // the init could not finish the namespaces) is written, though.
        std::fflush(nullptr);
        _exit(code);
    }
    int status = 0;
    if (WaitFor(init, status) != init) {
        return 1;
    }
    // Everything in the namespace is gone by now. A crash of the tests is
    // reported as the crash it was.
    const int code = StatusCode(status);
    if (code > 128) {
        signal(code - 128, SIG_DFL);
        raise(code - 128);
    }
    // Without exit's checks: this process can make no process any more (its
    // children's PID namespace has ended), which a leak checker needs, and
    // it allocated nothing the tests' process did not check.
    std::fflush(nullptr);
    _exit(code);
}
