#include "Utilities/PipeReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "Utilities/OSSLinuxFile.h"
#include "tests/support/Sandbox.h"

using namespace std::string_literals;

// A 512-byte buffer takes messages of up to 510 characters: the terminator
// must not be the byte that fills it. Bytes past the room stay untouched and
// the rest of the pipe's content stays in the pipe.
TEST(PipeReaderTest, ReadsOneMessageFromAFifo)
{
    const struct {
        std::string Written;
        size_t Room;
        char Terminator;
        VeskEventCode_T Result;
        size_t Stored;
        std::string Left;
    } cases[] = {
        {std::string(600, 'a') + '\0', 512, '\0', PIPE_MESSAGE_TOO_LONG, 512, std::string(88, 'a') + '\0'},
        {std::string(511, 'b') + '\0', 512, '\0', PIPE_MESSAGE_TOO_LONG, 512, ""},
        {std::string(510, 'c') + '\0', 512, '\0', SUCCESS, 511, ""},
        {"abcdefg\0"s, 4, '\0', PIPE_MESSAGE_TOO_LONG, 4, "efg\0"s},
        {"", 512, '\0', EAGAIN, 0, ""},
        {"abc", 512, '\0', SUCCESS, 3, ""},
        {"Shutdown\0Are You Alive?\0"s, 512, '\0', SUCCESS, 9, "Are You Alive?\0"s},
        {"line1\nline2\n", 512, '\n', SUCCESS, 6, "line2\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Written.substr(0, 20) + " into " + std::to_string(c.Room));
        CSandbox sandbox;
        const std::string fifo = sandbox.MakeFifo("pipe");
        COSSLinuxFile pipe(fifo.c_str(), O_RDWR | O_NONBLOCK, 0);
        ASSERT_EQ(write(pipe.GetFileDescriptor(), c.Written.data(), c.Written.size()),
                  static_cast<ssize_t>(c.Written.size()));

        std::string memory(512, '#');
        Buffer_Bytes_T buffer(memory.data(), memory.size());
        buffer.size(c.Room);
        EXPECT_EQ(CPipeReader().ReadPipeMessage(&pipe, &buffer, c.Terminator), c.Result);
        ASSERT_EQ(buffer.size(), c.Stored);
        EXPECT_EQ(memory, c.Written.substr(0, c.Stored) + std::string(512 - c.Stored, '#'));

        std::string left(1024, '\0');
        const ssize_t count = read(pipe.GetFileDescriptor(), left.data(), left.size());
        EXPECT_EQ(left.substr(0, count > 0 ? static_cast<size_t>(count) : 0), c.Left);
    }
}

TEST(PipeReaderTest, OtherFailuresReturnTheirErrnoAndEndOfFileEndsTheMessage)
{
    CSandbox sandbox;
    Pipe_Buffer_T buffer;
    COSSLinuxFile writeOnly(sandbox.WriteFile("out", "abc").c_str(), O_WRONLY, 0);
    EXPECT_EQ(CPipeReader().ReadPipeMessage(&writeOnly, &buffer, '\0'), EBADF);
    EXPECT_EQ(buffer.size(), 0u);

    COSSLinuxFile file(sandbox.WriteFile("in", "xyz").c_str(), O_RDONLY, 0);
    buffer.Reset();
    EXPECT_EQ(CPipeReader().ReadPipeMessage(&file, &buffer, '\0'), SUCCESS);
    EXPECT_EQ(buffer.size(), 3u);
    EXPECT_DEATH(CPipeReader().ReadPipeMessage(nullptr, &buffer, '\0'), "Assertion `Pipe' failed");
}
