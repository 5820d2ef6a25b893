#include "Utilities/StandardStreams.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <initializer_list>

#include "tests/support/Sandbox.h"

namespace {

// Whether Descriptor is open on /dev/null.
bool IsDevNull(int Descriptor)
{
    struct stat null {};
    struct stat opened {};
    return stat("/dev/null", &null) == 0 && fstat(Descriptor, &opened) == 0 && opened.st_rdev == null.st_rdev &&
           S_ISCHR(opened.st_mode);
}

// In a child process whose standard descriptors are all on the file Before,
// except the Closed ones: the streams are made sure of, then the file Opened
// is opened. The child's exit status has a bit for each thing that went
// wrong.
int RunWithClosed(std::initializer_list<int> Closed, const std::string& Before, const std::string& Opened)
{
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        const int before = open(Before.c_str(), O_RDWR | O_CREAT, 0600);
        struct stat beforeStatus {};
        fstat(before, &beforeStatus);
        for (int descriptor = 0; descriptor <= 2; ++descriptor) {
            dup2(before, descriptor);
        }
        close(before);
        for (const int descriptor : Closed) {
            close(descriptor);
        }

        int failures = OpenStandardStreams() ? 0 : 1;
        for (int descriptor = 0; descriptor <= 2; ++descriptor) {
            bool closed = false;
            for (const int c : Closed) {
                closed = closed || c == descriptor;
            }
            // The closed ones are on /dev/null now, the others as they were.
            struct stat status {};
            const bool same = fstat(descriptor, &status) == 0 && status.st_ino == beforeStatus.st_ino &&
                              status.st_dev == beforeStatus.st_dev;
            if (closed ? !IsDevNull(descriptor) : !same) {
                failures |= 2 << descriptor;
            }
        }
        if (open(Opened.c_str(), O_RDWR | O_CREAT, 0600) < 3) {
            failures |= 16;
        }
        _exit(failures);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

TEST(StandardStreamsTest, ClosedStandardDescriptorsAreHeldOnDevNullSoTheNextOpenGetsThreeOrAbove)
{
    CSandbox sandbox;
    for (const auto& closed : {std::initializer_list<int>{1}, {0, 1, 2}, {0, 2}, {}}) {
        EXPECT_EQ(RunWithClosed(closed, sandbox / "before", sandbox / "opened"), 0) << closed.size() << " closed";
    }
}
