#include "Utilities/OSSLinuxFile.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>

#include "tests/support/FileHolder.h"
#include "tests/support/Sandbox.h"

namespace {

// Opens Path with each of Flags: every open prints Printed and fails with Error.
void ExpectOpens(const std::string& Path, std::initializer_list<int> Flags, const std::string& Printed, int Error)
{
    for (int flags : Flags) {
        int error = 0;
        EXPECT_EQ(CaptureStdout([&] { error = COSSLinuxFile(Path.c_str(), flags, 0600).GetLastError(); }), Printed)
            << flags;
        EXPECT_EQ(error, Error) << flags;
    }
}

std::string LockedBy(const std::string& Path, pid_t Holder, int Type)
{
    return std::to_string(getpid()) + " COSSLinuxFile::CheckForLock() " + Path + " locked by " +
           std::to_string(Holder) + " for " + std::to_string(Type) + "\n";
}

} // namespace

TEST(OSSLinuxFileLockTest, WriteOnlyHolderInAnotherProcessRefusesEveryOpen)
{
    CSandbox sandbox;
    const std::string path = sandbox.WriteFile("Record.bin", "data");
    CFileHolder writer(path, O_WRONLY);
    ASSERT_EQ(writer.OpenError(), 0);
    ExpectOpens(path, {O_RDONLY, O_WRONLY, O_RDWR}, LockedBy(path, writer.Pid(), F_WRLCK), -140);
    writer.Release();
    EXPECT_EQ(COSSLinuxFile(path.c_str(), O_RDONLY, 0).GetLastError(), 0) << "the lock went with its holder";
}

// A read lock taken by a process outside the file layer conflicts with every
// open too, and the one line printed names it with its type; a missing file
// is only its errno, with nothing printed.
TEST(OSSLinuxFileLockTest, ForeignReadLockIsNamedOnceAndAMissingFileSaysNothing)
{
    CSandbox sandbox;
    const std::string path = sandbox.WriteFile("Record.bin", "data");
    int ready[2];
    int release[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(release), 0);
    std::fflush(stdout);
    const pid_t holder = fork();
    if (holder == 0) {
        close(release[1]);
        const int fd = open(path.c_str(), O_RDONLY);
        struct flock lock {};
        lock.l_type = F_RDLCK;
        lock.l_whence = SEEK_SET;
        const char locked = fcntl(fd, F_SETLK, &lock) == 0 ? 1 : 0;
        char byte;
        if (write(ready[1], &locked, 1) == 1) {
            (void)!read(release[0], &byte, 1);  // returns once the test closes its end
        }
        _exit(0);
    }
    close(ready[1]);
    close(release[0]);
    char locked = 0;
    ASSERT_EQ(read(ready[0], &locked, 1), 1);
    ASSERT_EQ(locked, 1);
    ExpectOpens(path, {O_RDONLY, O_WRONLY, O_RDWR, O_WRONLY | O_CREAT}, LockedBy(path, holder, F_RDLCK), -140);
    close(release[1]);
    ASSERT_EQ(waitpid(holder, nullptr, 0), holder);
    EXPECT_EQ(COSSLinuxFile(path.c_str(), O_WRONLY, 0).GetLastError(), 0) << "the lock went with its holder";

    ExpectOpens(sandbox / "missing/Record.bin", {O_RDONLY, O_WRONLY, O_WRONLY | O_CREAT}, "", ENOENT);
}

TEST(OSSLinuxFileLockTest, ReadersNeverStopAWriterWhoThenHoldsTheFile)
{
    CSandbox sandbox;
    const std::string path = sandbox.WriteFile("Record.bin", "data");
    for (int holderFlags : {O_RDONLY, O_RDWR}) {
        CFileHolder holder(path, holderFlags);
        ASSERT_EQ(holder.OpenError(), 0);
        COSSLinuxFile writer(path.c_str(), O_WRONLY, 0);
        ASSERT_EQ(writer.GetLastError(), 0) << holderFlags;
        EXPECT_EQ(CFileHolder(path, O_RDONLY).OpenError(), -140) << holderFlags;
        // Record locks belong to the process: a second open in this one passes.
        EXPECT_EQ(COSSLinuxFile(path.c_str(), O_WRONLY, 0).GetLastError(), 0);
    }
}

// Whatever may be written refuses a symbolic link at its name, dangling or
// not, as a failed open; only reading goes through one.
TEST(OSSLinuxFileTest, OpensForWritingRefuseASymbolicLinkAtTheName)
{
    CSandbox sandbox;
    const std::string outside = sandbox.WriteFile("outside", "kept");
    const std::string link = sandbox / "link";
    const std::string dangling = sandbox / "dangling";
    ASSERT_EQ(symlink(outside.c_str(), link.c_str()), 0);
    ASSERT_EQ(symlink((sandbox / "nowhere").c_str(), dangling.c_str()), 0);
    uint8_t byte = 'x';
    const Buffer_Bytes_T one(&byte, 1);
    for (const int flags : {O_WRONLY, O_WRONLY | O_CREAT | O_NONBLOCK, O_RDWR, O_RDWR | O_CREAT | O_TRUNC}) {
        for (const std::string& path : {link, dangling}) {
            COSSLinuxFile file(path.c_str(), flags, 0600);
            EXPECT_EQ(file.GetLastError(), ELOOP) << path << " " << flags;
            EXPECT_FALSE(file.Write(&one));
        }
    }
    EXPECT_EQ(CSandbox::ReadFile(outside), "kept");
    EXPECT_FALSE(CSandbox::Exists(sandbox / "nowhere"));
    EXPECT_EQ(COSSLinuxFile(link.c_str(), O_RDONLY, 0).GetLastError(), 0);
}

TEST(OSSLinuxFileTest, FileNameUpTo255CharactersOnly)
{
    CSandbox sandbox;
    std::string name = sandbox.Path() + "/";
    name += std::string(255 - name.size(), 'n');
    EXPECT_EQ(COSSLinuxFile(name.c_str(), O_WRONLY | O_CREAT, 0600).GetLastError(), 0);
    name += "n";
    EXPECT_DEATH(COSSLinuxFile(name.c_str(), O_RDONLY, 0),
                 "COSSLinuxFile::COSSLinuxFile\\(const char ?\\*, int, int\\): Assertion "
                 "`\\(m_FileName\\[sizeof\\(m_FileName\\) - 1\\] == 0\\) && \"File name is too long!\"' failed");
}

TEST(OSSLinuxFileTest, RawReadTakesAtMostTheBufferSizeAndFailedTruncationIsPrinted)
{
    CSandbox sandbox;
    const std::string path = sandbox / "raw.bin";
    char text[] = "hello world";
    const Buffer_Bytes_T out(text, 11);
    ASSERT_TRUE(COSSLinuxFile(path.c_str(), O_WRONLY | O_CREAT, 0600).Write(&out));

    COSSLinuxFile file(path.c_str(), O_RDONLY, 0);
    char memory[16] = {};
    Buffer_Bytes_T buffer(memory, sizeof(memory));
    buffer.size(1);
    ASSERT_TRUE(file.Read(&buffer));
    EXPECT_STREQ(memory, "h");
    buffer.size(sizeof(memory));
    ASSERT_TRUE(file.Read(&buffer));
    EXPECT_EQ(std::string(memory, buffer.size()), "ello world");

    int error = 0;
    const std::string printed = CaptureStdout([&] { error = file.Ftruncate(0); });
    EXPECT_NE(error, 0);
    EXPECT_EQ(printed, "Error in COSSLinuxFile::Ftruncate(): " + std::to_string(error) + "\n");
}

// Integers are scanned wide and narrowed into their slot; the floating-point
// slots keep the results the other tasks were built against; past the end of
// the text a read succeeds and stores nothing.
TEST(OSSLinuxFileStreamTest, TypedValuesAreNarrowedAndTheEndOfTextStoresNothing)
{
    CSandbox sandbox;
    COSSLinuxFile file(sandbox.WriteFile("values", "300 70000 321 65539 7 1.5 1.5 1 2").c_str(), O_RDONLY, 0);
    UINT8 u8 = 0;
    UINT16 u16 = 0;
    char c = 0;
    short s = 0;
    bool b = false;
    float single = 9.0f;
    double wide = 9.0;
    int ints[3] = {9, 9, 9};
    ASSERT_TRUE(file.ReadStream(&u8) && file.ReadStream(&u16) && file.ReadStream(&c) && file.ReadStream(&s) &&
                file.ReadStream(&b) && file.ReadStream(&single) && file.ReadStream(&wide) && file.ReadStream(ints, 3));
    EXPECT_EQ(std::to_string(u8) + " " + std::to_string(u16) + " " + c + " " + std::to_string(s) + " " +
                  std::to_string(b),
              "44 4464 A 3 1");
    EXPECT_EQ(single, 0.0f);
    std::uint64_t bits = 0;
    std::memcpy(&bits, &wide, sizeof(bits));
    EXPECT_EQ(bits, 0x000000003FC00000u) << "1.5f's bits in the low half of a double";
    EXPECT_EQ(ints[0] * 100 + ints[1] * 10 + ints[2], 129) << "no text left for the third";

    EXPECT_TRUE(file.ReadStream(&ints[0]));
    EXPECT_EQ(ints[0], 1);
    COSSLinuxFile pipe(sandbox.MakeFifo("pipe").c_str(), O_RDWR | O_NONBLOCK, 0);
    EXPECT_FALSE(pipe.ReadStream(&ints[0])) << "an empty non-blocking pipe";
    EXPECT_EQ(pipe.GetLastError(), EAGAIN);
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
    char byte = 'x';
    Buffer_Bytes_T buffer(&byte, 1);
    ASSERT_TRUE(third.Write(&buffer) && second.Write(&buffer));
    EXPECT_EQ(first.MultiPoll(&members, 0), 2);
    ASSERT_TRUE(second.Read(&buffer));
    EXPECT_EQ(first.MultiPoll(&members, 0), 3);

    members.push_back(pollfd{-1, POLLIN, 0});
    EXPECT_DEATH(first.MultiPoll(&members, 0), "Assertion `\\(fd != -1\\) && \"bad FileDescriptor specified\"' failed");
}
