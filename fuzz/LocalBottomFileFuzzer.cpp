// Local bottom files as a ping task (or a damaged disk) may leave them:
// any text at all, of any length.
//
// Long texts come from short inputs: an input that starts with 0xFF is a
// pattern, repeated 2 to the power of its next byte (modulo 24) times, at
// most 8 MB in all, so that megabytes of digits or blanks cost a seed of a
// few bytes, the fuzzer can still vary them, and most lengths stay cheap. The text is parsed inside the C
// library, where the fuzzer sees no coverage: the lengths must be tried.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "Database/DatabaseLocalBottomRecord.h"
#include "fuzz/FuzzUnit.h"

namespace {

constexpr uint8_t cPatternMark = 0xFF;
constexpr size_t cMaxText = 8u << 20;

std::string Text(const uint8_t* Data, size_t Size)
{
    if (Size < 3 || Data[0] != cPatternMark) {
        return std::string(reinterpret_cast<const char*>(Data), Size);
    }
    const size_t repeats = size_t{1} << (Data[1] % 24);
    const std::string pattern(reinterpret_cast<const char*>(Data + 2), Size - 2);
    if (pattern.empty()) {
        return pattern;
    }
    const size_t length = std::min(repeats, cMaxText / pattern.size()) * pattern.size();
    // Doubling: a few large copies rather than millions of small ones.
    std::string text = pattern;
    text.reserve(length);
    while (text.size() * 2 <= length) {
        text += text;
    }
    text.append(text, 0, length - text.size());
    return text;
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

    const std::string text = Text(Data, Size);
    FuzzUnit::WriteFile(record.GetDBFilePath(), text.data(), text.size());
    record.readDB();

    // Whatever was read, storing it and reading it back gives the same bottom.
    const int32_t depth = record.GetDepth();
    const uint8_t state = record.GetState();
    FuzzUnit::Require(record.writeDB() == SUCCESS, "the bottom could not be stored");
    FuzzUnit::Require(record.readDB() == SUCCESS, "the stored bottom could not be read");
    FuzzUnit::Require(record.GetDepth() == depth && record.GetState() == state, "the bottom changed on the way");
    return 0;
}
