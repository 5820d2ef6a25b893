#ifndef TOOLS_VESK_TOOLFILE_H
#define TOOLS_VESK_TOOLFILE_H

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// Opens the files the tool reads (records, captures, PID and environment
// files) so that nothing placed at their names can stop it: a link is not
// followed, a FIFO cannot block, a device is never opened, and no more is
// read than the caller can use. The tool is the safety net for a damaged
// unit, so it must name such a thing instead of hanging or aborting on it.
class CToolFile {
public:
    enum Kind_T {
        MISSING,
        REGULAR,
        DIRECTORY,
        FIFO,
        SYMLINK,
        DEVICE,
        SOCKET,
        // Could not be looked at (see Error): a path through a file, no
        // permission, a name too long.
        UNUSABLE,
    };

    struct Look_T {
        Kind_T Kind = MISSING;
        // errno of the failed look or read.
        int Error = 0;
        // Size of a regular file as the file system gives it.
        off_t Size = 0;
        // Where a symbolic link points.
        std::string LinkTarget;
        // The first bytes of a regular file (at most the limit asked + 1,
        // so that "longer than the limit" can be told).
        std::vector<uint8_t> Bytes;
    };

    // Looks at Path and, when it is a regular file, reads up to Limit + 1
    // bytes of it.
    static Look_T Read(const std::string& Path, size_t Limit);

    // Opens Path for reading when it is a regular file; -1 otherwise, with
    // Look saying what is there. The caller closes the descriptor.
    static int OpenRegular(const std::string& Path, Look_T& Look);

    // Reads up to Size bytes at the descriptor's position, through short
    // and interrupted reads; the count read, or -1 on an error.
    static ssize_t ReadUpTo(int Fd, uint8_t* Bytes, size_t Size);

    // What is at the path, for a finding: "a directory", "a FIFO",
    // "a symbolic link to X", "a device", "a socket", "missing", "unusable: why".
    static std::string Describe(const Look_T& Look);

    // Renames Path to the first free "Path.bad-N" (never over anything);
    // the new name, or "" with errno set when that failed.
    static std::string MoveAside(const std::string& Path);
};

#endif
