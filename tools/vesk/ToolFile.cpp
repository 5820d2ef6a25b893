#include "tools/vesk/ToolFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

// Tried names per move before giving up: a directory holding that many
// set-aside copies of one record needs a person anyway.
constexpr int cMaxAsideNames = 1000;

CToolFile::Kind_T KindOf(mode_t Mode)
{
    if (S_ISREG(Mode)) {
        return CToolFile::REGULAR;
    }
    if (S_ISDIR(Mode)) {
        return CToolFile::DIRECTORY;
    }
    if (S_ISFIFO(Mode)) {
        return CToolFile::FIFO;
    }
    if (S_ISLNK(Mode)) {
        return CToolFile::SYMLINK;
    }
    if (S_ISSOCK(Mode)) {
        return CToolFile::SOCKET;
    }
    return CToolFile::DEVICE;
}

// Fills Look from the name itself (never what a link points at).
bool LookAtName(const std::string& Path, CToolFile::Look_T& Look)
{
    struct stat st {};
    if (lstat(Path.c_str(), &st) != 0) {
        Look.Error = errno;
        Look.Kind = errno == ENOENT ? CToolFile::MISSING : CToolFile::UNUSABLE;
        return false;
    }
    Look.Kind = KindOf(st.st_mode);
    Look.Size = st.st_size;
    if (Look.Kind == CToolFile::SYMLINK) {
        char target[4096];
        const ssize_t length = readlink(Path.c_str(), target, sizeof(target) - 1);
        Look.LinkTarget = length >= 0 ? std::string(target, static_cast<size_t>(length)) : std::string("?");
    }
    return Look.Kind == CToolFile::REGULAR;
}

} // namespace

int CToolFile::OpenRegular(const std::string& Path, Look_T& Look)
{
    Look = Look_T{};
    // Looked at before it is opened: opening a device can act on it, and a
    // FIFO or a link is no file of ours whatever it leads to.
    if (!LookAtName(Path, Look)) {
        return -1;
    }
    // O_NOFOLLOW and O_NONBLOCK keep the promise if the name was replaced
    // between the look and the open.
    const int fd = open(Path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        Look.Error = errno;
        if (!LookAtName(Path, Look)) {
            return -1;
        }
        Look.Kind = UNUSABLE;
        return -1;
    }
    struct stat st {};
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        Look.Kind = st.st_mode != 0 ? KindOf(st.st_mode) : UNUSABLE;
        Look.Error = errno;
        close(fd);
        return -1;
    }
    Look.Size = st.st_size;
    return fd;
}

ssize_t CToolFile::ReadUpTo(int Fd, uint8_t* Bytes, size_t Size)
{
    size_t done = 0;
    while (done < Size) {
        const ssize_t count = read(Fd, Bytes + done, Size - done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return -1;
        }
        if (count == 0) {
            break;
        }
        done += static_cast<size_t>(count);
    }
    return static_cast<ssize_t>(done);
}

CToolFile::Look_T CToolFile::Read(const std::string& Path, size_t Limit)
{
    Look_T look;
    const int fd = OpenRegular(Path, look);
    if (fd < 0) {
        return look;
    }
    // The size the file system gives is only a hint (a file of /proc says
    // 0, another process may write meanwhile); the limit is what counts.
    const size_t want = Limit + 1;
    look.Bytes.resize(std::min(want, look.Size > 0 ? static_cast<size_t>(look.Size) : size_t{4096}));
    size_t done = 0;
    for (;;) {
        const ssize_t count = ReadUpTo(fd, look.Bytes.data() + done, look.Bytes.size() - done);
        if (count < 0) {
            look.Error = errno;
            look.Kind = UNUSABLE;
            break;
        }
        done += static_cast<size_t>(count);
        if (done < look.Bytes.size() || done >= want) {
            break;
        }
        look.Bytes.resize(std::min(want, done * 2));
    }
    look.Bytes.resize(done);
    close(fd);
    return look;
}

std::string CToolFile::Describe(const Look_T& Look)
{
    switch (Look.Kind) {
    case MISSING:
        return "missing";
    case REGULAR:
        return "a regular file of " + std::to_string(Look.Size) + " bytes";
    case DIRECTORY:
        return "a directory";
    case FIFO:
        return "a FIFO";
    case SYMLINK:
        return "a symbolic link to " + Look.LinkTarget;
    case DEVICE:
        return "a device";
    case SOCKET:
        return "a socket";
    case UNUSABLE:
        break;
    }
    return std::string("unusable: ") + std::strerror(Look.Error);
}

std::string CToolFile::MoveAside(const std::string& Path)
{
    for (int number = 1; number <= cMaxAsideNames; ++number) {
        const std::string aside = Path + ".bad-" + std::to_string(number);
        if (renameat2(AT_FDCWD, Path.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) == 0) {
            return aside;
        }
        if (errno == EEXIST) {
            continue;
        }
        if (errno != EINVAL && errno != ENOSYS) {
            return "";
        }
        // A file system without the no-replace rename: a hard link is never
        // made over an existing name either (directories cannot be linked).
        if (link(Path.c_str(), aside.c_str()) == 0) {
            if (unlink(Path.c_str()) == 0) {
                return aside;
            }
            const int error = errno;
            unlink(aside.c_str());
            errno = error;
            return "";
        }
        if (errno != EEXIST) {
            return "";
        }
    }
    errno = EEXIST;
    return "";
}
