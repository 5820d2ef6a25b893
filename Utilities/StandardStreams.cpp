#include "Utilities/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace {

bool IsOpen(int Descriptor)
{
    return fcntl(Descriptor, F_GETFD) != -1 || errno != EBADF;
}

} // namespace

bool OpenStandardStreams()
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (IsOpen(descriptor)) {
            continue;
        }
        // open() returns the lowest free number, and every lower standard
        // descriptor is open by now: this one. Without /dev/null (a bare
        // chroot) the root directory holds the slot just as well; reads
        // and writes on it fail instead of reaching a file.
        int opened = open("/dev/null", O_RDWR);
        if (opened == -1) {
            opened = open("/", O_RDONLY | O_DIRECTORY);
        }
        if (opened == -1) {
            return false;
        }
        if (opened != descriptor) {
            const bool moved = dup2(opened, descriptor) == descriptor;
            close(opened);
            if (!moved) {
                return false;
            }
        }
    }
    return true;
}
