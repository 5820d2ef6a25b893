#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tools/vesk/ToolCommand.h"

CToolArgs::CToolArgs(const char* Command, int argc, char** argv) : m_Command(Command)
{
    for (int i = 0; i < argc; ++i) {
        m_Args.emplace_back(argv[i]);
    }
}

const std::string& CToolArgs::Peek() const
{
    static const std::string cNone;
    return Empty() ? cNone : m_Args[m_Next];
}

std::string CToolArgs::Take()
{
    return Empty() ? std::string() : m_Args[m_Next++];
}

bool CToolArgs::TakeOption(const char* Name, std::string* Value, bool NeedsValue)
{
    if (Empty()) {
        return false;
    }
    const std::string option = std::string("--") + Name;
    const std::string& next = m_Args[m_Next];
    if (next == option) {
        ++m_Next;
        if (NeedsValue && Value != nullptr) {
            *Value = Take();
        }
        return true;
    }
    if (Value != nullptr && next.compare(0, option.size() + 1, option + "=") == 0) {
        *Value = next.substr(option.size() + 1);
        ++m_Next;
        return true;
    }
    return false;
}

std::vector<std::string> CToolArgs::Rest()
{
    std::vector<std::string> rest(m_Args.begin() + static_cast<long>(m_Next), m_Args.end());
    m_Next = m_Args.size();
    return rest;
}

int CToolArgs::UsageError(const std::string& Text) const
{
    std::fprintf(stderr, "vesk %s: %s (see vesk %s --help)\n", m_Command.c_str(), Text.c_str(), m_Command.c_str());
    return TOOL_USAGE;
}

int CToolArgs::Error(int Exit, const std::string& Text) const
{
    std::fprintf(stderr, "vesk %s: %s\n", m_Command.c_str(), Text.c_str());
    return Exit;
}

bool ParseNumber(const std::string& Text, long long Minimum, long long Maximum, long long& Value)
{
    if (Text.empty()) {
        return false;
    }
    char* end = nullptr;
    errno = 0;
    const long long parsed = std::strtoll(Text.c_str(), &end, 0);
    if (errno != 0 || *end != '\0' || parsed < Minimum || parsed > Maximum) {
        return false;
    }
    Value = parsed;
    return true;
}
