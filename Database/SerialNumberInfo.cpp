#include "Database/SerialNumberInfo.h"

#include <cctype>
#include <cstdint>
#include <fstream>
#include <limits>

CSerialNumberInfo::CSerialNumberInfo(const char* FileName) : m_Text("Unknown"), m_SerialNumber(0)
{
    std::ifstream file(FileName);
    std::string line;
    if (file && std::getline(file, line)) {
        m_Text = line;
        m_SerialNumber = Parse(line);
    }
}

std::string CSerialNumberInfo::DisplayForm(uint32_t SerialNumber)
{
    return std::to_string(SerialNumber);
}

uint32_t CSerialNumberInfo::Parse(const std::string& Text)
{
    size_t position = 0;
    while (position < Text.size() && std::isspace(static_cast<unsigned char>(Text[position]))) {
        ++position;
    }
    uint64_t value = 0;
    bool anyDigit = false;
    for (; position < Text.size() && std::isdigit(static_cast<unsigned char>(Text[position])); ++position) {
        value = value * 10 + static_cast<uint64_t>(Text[position] - '0');
        if (value > std::numeric_limits<uint32_t>::max()) {
            return 0;
        }
        anyDigit = true;
    }
    return anyDigit ? static_cast<uint32_t>(value) : 0;
}
