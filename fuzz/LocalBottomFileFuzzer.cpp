// Local bottom files as a ping task (or a damaged disk) may leave them:
// any text at all, of any length.
//
// Long texts come from short inputs: an input that starts with 0xFF is a
// pattern, repeated 2^n times, at most 2 MB in all, so that megabytes of
// digits or blanks cost a seed of a few bytes and the fuzzer can still vary
// them. The next byte gives n: 0xE8 to 0xFF give 0 to 23, any other byte
// its value modulo 12, so that most inputs stay short (a megabyte text
// costs the fuzzer milliseconds). The lengths must be tried: how the text
// is cut into reads decides what the scanner sees.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "Database/DatabaseLocalBottomRecord.h"
#include "fuzz/FuzzUnit.h"

namespace {

constexpr uint8_t cPatternMark = 0xFF;
constexpr size_t cMaxText = 2u << 20;
constexpr uint8_t cLongTexts = 0xE8;
constexpr size_t cChunkSize = 1u << 20;

// Writes the text the input stands for to Path. A long text is written a
// chunk of whole patterns at a time, never built in memory: its pages would
// cost more than everything else the input does.
void WriteText(const std::string& Path, const uint8_t* Data, size_t Size)
{
    if (Size < 3 || Data[0] != cPatternMark) {
        FuzzUnit::WriteFile(Path, Data, Size);
        return;
    }
    const unsigned exponent = Data[1] >= cLongTexts ? Data[1] - cLongTexts : Data[1] % 12u;
    const char* const pattern = reinterpret_cast<const char*>(Data + 2);
    const size_t patternSize = Size - 2;
    size_t left = std::min(size_t{1} << exponent, cMaxText / patternSize) * patternSize;

    static std::vector<char> chunk(cChunkSize);
    const size_t chunkSize = std::min(left, cChunkSize / patternSize * patternSize);
    for (size_t at = 0; at < chunkSize; at += patternSize) {
        std::copy(pattern, pattern + patternSize, chunk.begin() + static_cast<std::ptrdiff_t>(at));
    }
    std::ofstream out(Path, std::ios::binary | std::ios::trunc);
    for (; left > 0 && out; left -= std::min(left, chunkSize)) {
        out.write(chunk.data(), static_cast<std::streamsize>(std::min(left, chunkSize)));
    }
    FuzzUnit::Require(static_cast<bool>(out), "the text could not be written");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzUnit::Prepare();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size)
{
    static CDatabaseLocalBottomRecord record(FuzzUnit::Factory(), "PPT");

    WriteText(record.GetDBFilePath(), Data, Size);
    record.readDB();

    // Whatever was read, storing it and reading it back gives the same bottom.
    const int32_t depth = record.GetDepth();
    const uint8_t state = record.GetState();
    FuzzUnit::Require(record.writeDB() == SUCCESS, "the bottom could not be stored");
    FuzzUnit::Require(record.readDB() == SUCCESS, "the stored bottom could not be read");
    FuzzUnit::Require(record.GetDepth() == depth && record.GetState() == state, "the bottom changed on the way");
    return 0;
}
