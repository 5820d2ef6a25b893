#include "Utilities/TextScanner.h"

#include <fcntl.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <tuple>

#include "Utilities/OSSLinuxFile.h"
#include "tests/support/Sandbox.h"

namespace {

// The real file, counting the reads the scanner makes.
class CCountingFile : public COSSLinuxFile {
public:
    explicit CCountingFile(const std::string& Path) : COSSLinuxFile(Path.c_str(), O_RDONLY, 0) {}
    bool Read(Buffer_Bytes_T* Buffer) override
    {
        ++m_Reads;
        return COSSLinuxFile::Read(Buffer);
    }
    int m_Reads = 0;
};

// What reading a depth and then a state gave: both results, both values,
// the error after them.
using Outcome = std::tuple<bool, int, bool, int, int>;

// A depth and a state read the way a local bottom is read, starting from
// the given errno and from values the reads may leave unchanged.
template <typename Reader>
Outcome ReadBottom(int ErrnoBefore, Reader& reader)
{
    int depth = -77;
    UINT8 state = 77;
    errno = ErrnoBefore;
    const bool depthRead = reader.Read(&depth);
    const bool stateRead = reader.Read(&state);
    return Outcome{depthRead, depth, stateRead, state, reader.GetLastError()};
}

// The stream reads of the file layer, under the scanner's names.
struct StreamReader {
    COSSLinuxFile& File;
    bool Read(int* Data) { return File.ReadStream(Data); }
    bool Read(UINT8* Data) { return File.ReadStream(Data); }
    int GetLastError() const { return File.GetLastError(); }
};

} // namespace

TEST(TextScannerTest, ReadsEveryTextAsTheStreamReadsDoWithOneReadForAShortFile)
{
    CSandbox sandbox;
    // Each text is short enough for one read of the file but the last two.
    const struct {
        std::string Text;
        int Reads;
    } rows[] = {
        {"12\n2\n", 1}, {"  4711\n\n 2 \n", 1}, {"-2147483648\n0\n", 1}, {"", 1}, {" \n\t ", 1}, {"5", 1},
        {"abc 2", 1}, {"-\n5", 1}, {"+ 5", 1}, {"+7 -1", 1}, {"12abc 3", 1}, {"0x10 2", 1}, {"007 0008", 1},
        {"4294967297 258", 1}, {"-2147483649 -5", 1}, {"99999999999999999999 1", 1}, {"-99999999999999999999", 1},
        {"5 18446744073709551616", 1}, {"1 -18446744073709551615", 1}, {std::string("1\0 2", 4), 1}, {"\x80 3", 1},
        {std::string(CTextScanner::cChunkSize + 100, ' ') + "42 7\n", 2}, {std::string(CTextScanner::cChunkSize, '7'), 2},
    };
    const auto expectSameAsStream = [](const std::string& Path, int Reads, const std::string& What) {
        for (const int errnoBefore : {0, EINTR}) {
            COSSLinuxFile streamFile(Path.c_str(), O_RDONLY, 0);
            StreamReader stream{streamFile};
            const Outcome expected = ReadBottom(errnoBefore, stream);
            CCountingFile scannedFile(Path);
            CTextScanner scanner(scannedFile);
            EXPECT_EQ(ReadBottom(errnoBefore, scanner), expected) << What << " errno " << errnoBefore;
            EXPECT_EQ(scannedFile.m_Reads, Reads) << What;
        }
    };
    for (const auto& row : rows) {
        expectSameAsStream(sandbox.WriteFile("bottom.txt", row.Text), row.Reads, '"' + row.Text + '"');
    }
    // A read that fails ends the text: its errno is the error of every scan.
    expectSameAsStream(sandbox.MakeDir("directory"), 1, "a directory");
}
