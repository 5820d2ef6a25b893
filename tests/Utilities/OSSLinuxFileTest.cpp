#include "Utilities/OSSLinuxFile.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "tests/support/FileHolder.h"
#include "tests/support/Sandbox.h"

namespace {

// What Action printed on this process's standard output.
template <typename Action>
std::string CaptureStdout(const CSandbox& Sandbox, Action action)
{
    return ::CaptureStdout(Sandbox / "stdout", action);
}

using CHolder = CFileHolder;

int OpenErrorInOtherProcess(const std::string& Path, int Flags)
{
    return CHolder(Path, Flags).OpenError();
}

}  // namespace

TEST(OSSLinuxFileLockTest, WriteOnlyHolderInAnotherProcessRefusesEveryOpen)
{
    CSandbox sandbox;
    const std::string path = sandbox.WriteFile("Record.bin", "data");
    CHolder writer(path, O_WRONLY);
    ASSERT_EQ(writer.OpenError(), 0);
    const std::string lockedBy = std::to_string(getpid()) + " COSSLinuxFile::CheckForLock() " + path + " locked by " +
                                 std::to_string(writer.Pid()) + " for " + std::to_string(F_WRLCK) + "\n";

    for (int flags : {O_RDONLY, O_WRONLY, O_RDWR | O_NONBLOCK}) {
        int error = 0;
        EXPECT_EQ(CaptureStdout(sandbox, [&] { error = COSSLinuxFile(path.c_str(), flags, 0).GetLastError(); }),
                  lockedBy);
        EXPECT_EQ(error, -140) << flags;
    }
    writer.Release();
    EXPECT_EQ(COSSLinuxFile(path.c_str(), O_RDONLY, 0).GetLastError(), 0) << "the lock went with its holder";
}

TEST(OSSLinuxFileLockTest, ReadersNeverStopAWriterWhoThenHoldsTheFile)
{
    CSandbox sandbox;
    const std::string path = sandbox.WriteFile("Record.bin", "data");
    for (int holderFlags : {O_RDONLY, O_RDWR}) {
        CHolder holder(path, holderFlags);
        ASSERT_EQ(holder.OpenError(), 0);
        {
            COSSLinuxFile writer(path.c_str(), O_WRONLY, 0);
            ASSERT_EQ(writer.GetLastError(), 0) << holderFlags;
            for (int flags : {O_RDONLY, O_WRONLY, O_RDWR}) {
                EXPECT_EQ(OpenErrorInOtherProcess(path, flags), -140) << holderFlags << " " << flags;
            }
            // Record locks belong to the process: opens in this one pass.
            EXPECT_EQ(COSSLinuxFile(path.c_str(), O_WRONLY, 0).GetLastError(), 0);
        }
        EXPECT_EQ(OpenErrorInOtherProcess(path, O_WRONLY), 0) << "closing dropped the lock";
    }
}

TEST(OSSLinuxFileTest, FileNameUpTo255CharactersOnly)
{
    CSandbox sandbox;
    std::string name = sandbox.Path() + "/";
    name += std::string(255 - name.size(), 'n');
    EXPECT_EQ(COSSLinuxFile(name.c_str(), O_WRONLY | O_CREAT, 0600).GetLastError(), 0);
    EXPECT_TRUE(CSandbox::Exists(name));
    name += "n";
    EXPECT_DEATH(COSSLinuxFile(name.c_str(), O_RDONLY, 0),
                 "COSSLinuxFile::COSSLinuxFile\\(const char ?\\*, int, int\\): Assertion "
                 "`\\(m_FileName\\[sizeof\\(m_FileName\\) - 1\\] == 0\\) && \"File name is too long!\"' failed");
}

TEST(OSSLinuxFileTest, RawReadAndWriteMoveAtMostTheBufferSize)
{
    CSandbox sandbox;
    const std::string path = sandbox / "raw.bin";
    char text[] = "hello world";
    Buffer_Bytes_T out(text, 11);
    ASSERT_TRUE(COSSLinuxFile(path.c_str(), O_WRONLY | O_CREAT, 0600).Write(&out));
    EXPECT_EQ(out.size(), 11u);

    COSSLinuxFile file(path.c_str(), O_RDONLY, 0);
    char memory[16] = {};
    Buffer_Bytes_T buffer(memory, sizeof(memory));
    buffer.size(1);
    ASSERT_TRUE(file.Read(&buffer));
    EXPECT_STREQ(memory, "h");
    buffer.size(sizeof(memory));
    ASSERT_TRUE(file.Read(&buffer));
    EXPECT_EQ(std::string(memory, buffer.size()), "ello world");
    ASSERT_TRUE(file.Read(&buffer));
    EXPECT_EQ(buffer.size(), 0u) << "end of file is an empty success";

    // Ioctl records the call's result, not errno.
    EXPECT_FALSE(file.Ioctl(TIOCEXCL, 0));
    EXPECT_EQ(file.GetLastError(), -1);
    COSSLinuxFile missing((sandbox / "missing").c_str(), O_RDONLY, 0);
    EXPECT_FALSE(missing.Read(&buffer));
    EXPECT_EQ(missing.GetLastError(), ENOENT);
}

TEST(OSSLinuxFileTest, StreamWritesThenTruncatesToTheStreamPosition)
{
    CSandbox sandbox;
    const std::string path = sandbox.WriteFile("LocalBottom", "-2147483648\n0\n");
    COSSLinuxFile file(path.c_str(), O_WRONLY, 0);
    ASSERT_TRUE(file.WriteStream("12\n2\n"));
    ASSERT_EQ(file.Ftruncate(static_cast<int>(file.TellStream())), 0);
    EXPECT_EQ(CSandbox::ReadFile(path), "12\n2\n");

    // A read-write open gets a stream for reading only.
    COSSLinuxFile both(path.c_str(), O_RDWR, 0);
    int depth = 0;
    EXPECT_TRUE(both.ReadStream(&depth));
    EXPECT_EQ(depth, 12);
    EXPECT_FALSE(both.WriteStream("3"));
    EXPECT_EQ(both.GetLastError(), EBADF);

    // A failed truncation is printed and leaves the last error alone.
    COSSLinuxFile reader(path.c_str(), O_RDONLY, 0);
    int error = 0;
    const std::string printed = CaptureStdout(sandbox, [&] { error = reader.Ftruncate(0); });
    EXPECT_NE(error, 0);
    EXPECT_EQ(printed, "Error in COSSLinuxFile::Ftruncate(): " + std::to_string(error) + "\n");
    EXPECT_EQ(reader.GetLastError(), 0);
    EXPECT_EQ(CSandbox::ReadFile(path), "12\n2\n");
}

TEST(OSSLinuxFileStreamTest, TypedValuesAreNarrowedToTheirSlot)
{
    CSandbox sandbox;
    COSSLinuxFile file(sandbox.WriteFile("values", "300 70000 4294967295 -5 18446744073709551615 65 -2 7 x").c_str(),
                       O_RDONLY, 0);
    UINT8 u8 = 0;
    UINT16 u16 = 0;
    UINT32 u32 = 0;
    int i = 0;
    unsigned long ul = 0;
    char c = 0;
    short s = 0;
    bool b = false;
    EXPECT_TRUE(file.ReadStream(&u8) && file.ReadStream(&u16) && file.ReadStream(&u32) && file.ReadStream(&i) &&
                file.ReadStream(&ul) && file.ReadStream(&c) && file.ReadStream(&s) && file.ReadStream(&b));
    EXPECT_EQ(u8 + u16, 300 % 256 + 70000 % 65536);
    EXPECT_EQ(u32, 4294967295u);
    EXPECT_EQ(ul, 18446744073709551615ul);
    EXPECT_EQ(i + s, -5 - 2);
    EXPECT_EQ(c, 'A');
    EXPECT_TRUE(b);

    i = 9;
    EXPECT_TRUE(file.ReadStream(&i));
    EXPECT_EQ(i, 0) << "text that is no number stores zero";
    char word[8] = {};
    EXPECT_TRUE(file.ReadStream(word, "%7s"));
    EXPECT_STREQ(word, "x");
    EXPECT_FALSE(file.ReadStream(word, "%7s"));
}

TEST(OSSLinuxFileStreamTest, EndOfTextIsSuccessButAFailedReadIsNot)
{
    CSandbox sandbox;
    COSSLinuxFile file(sandbox.WriteFile("depth", "5").c_str(), O_RDONLY, 0);
    int value = 0;
    ASSERT_TRUE(file.ReadStream(&value));
    errno = 0;
    EXPECT_TRUE(file.ReadStream(&value));
    EXPECT_EQ(value, 5);
    EXPECT_EQ(file.GetLastError(), 0);

    COSSLinuxFile pipe(sandbox.MakeFifo("pipe").c_str(), O_RDWR | O_NONBLOCK, 0);
    EXPECT_FALSE(pipe.ReadStream(&value)) << "an empty non-blocking pipe";
    EXPECT_EQ(value, 5);
    EXPECT_EQ(pipe.GetLastError(), EAGAIN);
}

TEST(OSSLinuxFileStreamTest, FloatingPointSlotsKeepTheirFixedResults)
{
    CSandbox sandbox;
    COSSLinuxFile file(sandbox.WriteFile("floats", "1.5 1.5 1.5 2.5").c_str(), O_RDONLY, 0);
    float single = 9.0f;
    EXPECT_TRUE(file.ReadStream(&single));
    EXPECT_EQ(single, 0.0f);
    double wide = 9.0;
    EXPECT_TRUE(file.ReadStream(&wide));
    std::uint64_t bits = 0;
    std::memcpy(&bits, &wide, sizeof(bits));
    EXPECT_EQ(bits, 0x000000003FC00000u) << "1.5f's bits in the low half of a double";

    float several[3] = {9.0f, 9.0f, 9.0f};
    EXPECT_TRUE(file.ReadStream(several, 3));
    EXPECT_EQ(several[0] + several[1], 0.0f);
    EXPECT_EQ(several[2], 9.0f) << "no text left for the third";
}

TEST(OSSLinuxFileStreamTest, ArrayReadsKeepUnreadPositionsAndReportTheFailure)
{
    CSandbox sandbox;
    COSSLinuxFile pipe(sandbox.MakeFifo("pipe").c_str(), O_RDWR | O_NONBLOCK, 0);
    const int writer = open((sandbox / "pipe").c_str(), O_WRONLY | O_NONBLOCK);
    ASSERT_EQ(write(writer, "1 2 ", 4), 4);
    int ints[3] = {7, 7, 7};
    EXPECT_FALSE(pipe.ReadStream(ints, 3));
    EXPECT_EQ(pipe.GetLastError(), EAGAIN);
    EXPECT_EQ(ints[0] * 100 + ints[1] * 10 + ints[2], 127);
    EXPECT_TRUE(pipe.ReadStream(ints, 0));
    EXPECT_EQ(pipe.GetLastError(), 0);

    ASSERT_EQ(write(writer, "-3 4 ", 5), 5);
    short shorts[2] = {7, 7};
    EXPECT_TRUE(pipe.ReadStream(shorts, 2));
    EXPECT_EQ(shorts[0] * 10 + shorts[1], -26);
    close(writer);
}

TEST(OSSLinuxFilePollTest, MultiPollNamesTheEarliestReadySource)
{
    CSandbox sandbox;
    COSSLinuxFile first(sandbox.MakeFifo("first").c_str(), O_RDWR | O_NONBLOCK, 0);
    COSSLinuxFile second(sandbox.MakeFifo("second").c_str(), O_RDWR | O_NONBLOCK, 0);
    COSSLinuxFile third(sandbox.MakeFifo("third").c_str(), O_RDWR | O_NONBLOCK, 0);
    PollMembers_T members;
    for (const COSSLinuxFile* file : {&first, &second, &third}) {
        members.push_back(pollfd{file->GetFileDescriptor(), POLLIN, 0});
    }
    EXPECT_EQ(first.MultiPoll(&members, 0) + second.Poll(POLLIN, 0), 0);

    char byte = 'x';
    Buffer_Bytes_T buffer(&byte, 1);
    ASSERT_TRUE(third.Write(&buffer) && second.Write(&buffer));
    EXPECT_EQ(second.Poll(POLLIN, 0), 1);
    EXPECT_EQ(first.MultiPoll(&members, 0), 2);
    EXPECT_EQ(members[1].revents, 0) << "returned events are not copied back";
    ASSERT_TRUE(second.Read(&buffer));
    EXPECT_EQ(first.MultiPoll(&members, 0), 3);

    members.push_back(pollfd{-1, POLLIN, 0});
    EXPECT_DEATH(first.MultiPoll(&members, 0), "Assertion `\\(fd != -1\\) && \"bad FileDescriptor specified\"' failed");
}
