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
        VeskEventCode_T Result;
        size_t Stored;
        std::string Left;
    } cases[] = {
        {std::string(600, 'a') + '\0', PIPE_MESSAGE_TOO_LONG, 512, std::string(88, 'a') + '\0'},
        {std::string(511, 'b') + '\0', PIPE_MESSAGE_TOO_LONG, 512, ""},
        {std::string(510, 'c') + '\0', SUCCESS, 511, ""},
        {"", EAGAIN, 0, ""},
        {"abc", SUCCESS, 3, ""},
        {"Shutdown\0Are You Alive?\0"s, SUCCESS, 9, "Are You Alive?\0"s},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Written.substr(0, 20));
        CSandbox sandbox;
        COSSLinuxFile pipe(sandbox.MakeFifo("pipe").c_str(), O_RDWR | O_NONBLOCK, 0);
        ASSERT_EQ(write(pipe.GetFileDescriptor(), c.Written.data(), c.Written.size()),
                  static_cast<ssize_t>(c.Written.size()));

        std::string memory(600, '#');
        Buffer_Bytes_T buffer(memory.data(), memory.size());
        buffer.size(512);
        EXPECT_EQ(CPipeReader().ReadPipeMessage(&pipe, &buffer, '\0'), c.Result);
        ASSERT_EQ(buffer.size(), c.Stored);
        EXPECT_EQ(memory, c.Written.substr(0, c.Stored) + std::string(600 - c.Stored, '#'));

        std::string left(1024, '\0');
        const ssize_t count = read(pipe.GetFileDescriptor(), left.data(), left.size());
        EXPECT_EQ(left.substr(0, count > 0 ? static_cast<size_t>(count) : 0), c.Left);
    }
}

// Once the writers are gone, each read yields nothing and the byte read last
// is stored again until the room is full.
TEST(PipeReaderTest, AtEndOfFileTheLastByteFillsTheRoom)
{
    const struct {
        std::string Written;
        char Terminator;
        VeskEventCode_T Result;
        std::string Stored;
    } cases[] = {
        {"abc", '\0', PIPE_MESSAGE_TOO_LONG, "abc" + std::string(13, 'c')},
        {"", '\n', PIPE_MESSAGE_TOO_LONG, std::string(16, '\0')},
        {"", '\0', SUCCESS, "\0"s},
        {"ok\n", '\n', SUCCESS, "ok\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Written);
        CSandbox sandbox;
        const std::string path = sandbox.MakeFifo("pipe");
        COSSLinuxFile pipe(path.c_str(), O_RDONLY | O_NONBLOCK, 0);
        const int writer = open(path.c_str(), O_WRONLY);
        ASSERT_GE(writer, 0);
        ASSERT_EQ(write(writer, c.Written.data(), c.Written.size()), static_cast<ssize_t>(c.Written.size()));
        close(writer);

        std::string memory(20, '#');
        Buffer_Bytes_T buffer(memory.data(), memory.size());
        buffer.size(16);
        EXPECT_EQ(CPipeReader().ReadPipeMessage(&pipe, &buffer, c.Terminator), c.Result);
        ASSERT_EQ(buffer.size(), c.Stored.size());
        EXPECT_EQ(memory, c.Stored + std::string(20 - c.Stored.size(), '#'));
    }
}
