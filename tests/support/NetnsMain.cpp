// Entry point of the network test binary. Every process of it (test
// discovery and each test) first moves into namespaces of its own:
//
// - a network namespace with only the loopback interface up, so nothing it
//   sends reaches the machine's own interfaces;
// - a PID namespace whose first process (an init that does nothing but
//   reap) runs the tests as its child. When that init ends, the kernel kills
//   everything left in the namespace: a task the tests started (which forks
//   and is reparented), a tracer, anything of theirs, however the tests
//   ended, a failed assertion, an abort or a time limit's kill included;
// - a mount namespace with a /proc of that PID namespace, so that the pids
//   the tests see (PID files, waitpid) are the ones /proc knows.
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

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
        std::perror("a mount namespace");
        return 1;
    }
    if (mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) != 0) {
        std::perror("mount /proc");
        return 1;
    }
    if (std::system("ip link set lo up") != 0) {
        std::fprintf(stderr, "could not bring lo up\n");
        return 1;
    }
    const pid_t tests = ForkFlushed();
    if (tests < 0) {
        return 1;
    }
    if (tests == 0) {
        testing::InitGoogleTest(&argc, argv);
        std::exit(RUN_ALL_TESTS());
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
    if (unshare(CLONE_NEWNET | CLONE_NEWPID) != 0) {
        std::perror("unshare (the network tests need root)");
        return 1;
    }
    const pid_t init = ForkFlushed();
    if (init < 0) {
        return 1;
    }
    if (init == 0) {
        // Neither the init's leftovers nor a sanitizer's exit checks: the
        // tests' process had those.
        std::fflush(nullptr);
        _exit(RunTestsAsInit(argc, argv));
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
