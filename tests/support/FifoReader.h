#ifndef TESTS_SUPPORT_FIFOREADER_H
#define TESTS_SUPPORT_FIFOREADER_H

#include <fcntl.h>
#include <unistd.h>

#include <string>

// The reading end of a FIFO, opened before anything is sent: while it is
// open, what writers put into the FIFO stays there for Drain to collect.
class CFifoReader {
public:
    explicit CFifoReader(const std::string& Path) : m_Fd(open(Path.c_str(), O_RDONLY | O_NONBLOCK)) {}
    ~CFifoReader() { close(m_Fd); }
    CFifoReader(const CFifoReader&) = delete;
    CFifoReader& operator=(const CFifoReader&) = delete;

    // Every byte waiting in the FIFO now, NULs included.
    std::string Drain()
    {
        std::string all;
        char chunk[4096];
        for (ssize_t count; (count = read(m_Fd, chunk, sizeof(chunk))) > 0;) {
            all.append(chunk, static_cast<size_t>(count));
        }
        return all;
    }

private:
    int m_Fd;
};

#endif
