#include "tools/vesk/EnvFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "tools/vesk/ToolFile.h"

namespace {

// An environment file of a unit has a few dozen short lines.
constexpr size_t cLargestFile = 64 * 1024;

bool IsName(const std::string& Name)
{
    if (Name.empty() || (Name[0] >= '0' && Name[0] <= '9')) {
        return false;
    }
    for (const char c : Name) {
        if (!(c == '_' || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'))) {
            return false;
        }
    }
    return true;
}

std::string Trimmed(const std::string& Text)
{
    const size_t first = Text.find_first_not_of(" \t\r");
    if (first == std::string::npos) {
        return "";
    }
    return Text.substr(first, Text.find_last_not_of(" \t\r") - first + 1);
}

} // namespace

bool CEnvFile::Load(const std::string& Path, bool Required, std::string& Error)
{
    const CToolFile::Look_T look = CToolFile::Read(Path, cLargestFile);
    if (look.Kind == CToolFile::MISSING && !Required) {
        return true;
    }
    if (look.Kind != CToolFile::REGULAR) {
        Error = Path + ": " + (look.Kind == CToolFile::MISSING ? std::string(std::strerror(ENOENT))
                                                                : "is " + CToolFile::Describe(look));
        return false;
    }
    if (look.Bytes.size() > cLargestFile) {
        Error = Path + ": too large: " + std::to_string(look.Size) + " bytes, not an environment file";
        return false;
    }
    // Checked whole before anything is set, so that a bad file sets nothing.
    std::vector<std::pair<std::string, std::string>> assignments;
    const std::string text(look.Bytes.begin(), look.Bytes.end());
    size_t number = 0;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        const std::string line = Trimmed(text.substr(start, end - start));
        start = end + 1;
        ++number;
        if (line.empty() || line[0] == '#') {
            continue;
        }
        const size_t equals = line.find('=');
        const std::string name = equals == std::string::npos ? std::string() : line.substr(0, equals);
        if (!IsName(name) || line.find('\0') != std::string::npos) {
            Error = Path + ":" + std::to_string(number) + ": not NAME=VALUE";
            return false;
        }
        std::string value = line.substr(equals + 1);
        if (value.size() >= 2 && (value[0] == '"' || value[0] == '\'') && value.back() == value[0]) {
            value = value.substr(1, value.size() - 2);
        }
        assignments.emplace_back(name, value);
    }
    for (const auto& assignment : assignments) {
        setenv(assignment.first.c_str(), assignment.second.c_str(), 0);
    }
    return true;
}
