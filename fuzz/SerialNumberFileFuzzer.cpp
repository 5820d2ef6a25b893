// The unit's serial number file, as the factory, a service engineer or a
// damaged disk may have left it: any bytes, of any length.
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

#include "Database/SerialNumberInfo.h"
#include "fuzz/FuzzUnit.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzUnit::Prepare();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size)
{
    static const std::string path = FuzzUnit::PathOf("SerialNumber");
    FuzzUnit::WriteFile(path, Data, Size);
    const CSerialNumberInfo info(path.c_str());

    // The text is the first line as it stands; an empty file has none.
    const std::string content(reinterpret_cast<const char*>(Data), Size);
    const std::string line = content.substr(0, content.find('\n'));
    FuzzUnit::Require(info.GetSerialNumberText() == (Size == 0 ? std::string("Unknown") : line),
                      "the text is not the first line");

    // The number is the leading decimal digits after blanks, when they fit
    // 32 bits; 0 otherwise. Told here by value rather than by parsing.
    const size_t start = line.find_first_not_of(" \t\n\v\f\r");
    const size_t end = start == std::string::npos ? start : line.find_first_not_of("0123456789", start);
    const std::string digits = start == std::string::npos ? "" : line.substr(start, end - start);
    const size_t significant = digits.find_first_not_of('0');
    const std::string value = significant == std::string::npos ? "0" : digits.substr(significant);
    const bool fits = value.size() < 10 || (value.size() == 10 && value <= "4294967295");
    const uint32_t number = info.GetSerialNumber();
    FuzzUnit::Require(number == 0 || (fits && CSerialNumberInfo::DisplayForm(number) == value),
                      "the number is not the line's leading digits");
    FuzzUnit::Require(number != 0 || !fits || value == "0" || Size == 0, "fitting digits gave no number");
    return 0;
}
