#include "Utilities/CommandPipeDecoder.h"

#include <algorithm>
#include <cstring>

#include "Utilities/VeskAssert.h"

namespace {

constexpr bool IsPrefixOf(const char* Word, const char* Text)
{
    for (; *Word != '\0'; ++Word, ++Text) {
        if (*Word != *Text) {
            return false;
        }
    }
    return true;
}

// A word that begins another word would hide it (or be hidden by it) depending
// on the scan order; other tasks rely on every word being reachable.
constexpr bool NoWordIsAPrefixOfAnother()
{
    for (size_t i = 0; i < cPipeCommandTable.size(); ++i) {
        for (size_t j = 0; j < cPipeCommandTable.size(); ++j) {
            if (i != j && IsPrefixOf(cPipeCommandTable[i].first, cPipeCommandTable[j].first)) {
                return false;
            }
        }
    }
    return true;
}

constexpr bool AckFirstThenAscendingCodes()
{
    if (cPipeCommandTable[0].second != PIPE_COMMAND_ACK) {
        return false;
    }
    for (size_t i = 2; i < cPipeCommandTable.size(); ++i) {
        if (cPipeCommandTable[i - 1].second >= cPipeCommandTable[i].second) {
            return false;
        }
    }
    return true;
}

static_assert(NoWordIsAPrefixOfAnother(), "a command word must not begin another command word");
static_assert(AckFirstThenAscendingCodes(), "the command table is scanned \"ACK_\" first, then by code");

} // namespace

PipeCommand_Compare::PipeCommand_Compare(const char* Command) : m_Command(Command)
{
    VESK_ASSERT(m_Command);
}

bool PipeCommand_Compare::operator()(const PipeCommandEntry_T& Value) const
{
    VESK_ASSERT(Value.first);
    // strncmp stops at the message's NUL, so a message shorter than the word
    // never matches and is never read past its end.
    return std::strncmp(Value.first, m_Command, std::strlen(Value.first)) == 0;
}

PipeCommand_T CommandPipeDecoder::DecodeCommand(const char* Message) const
{
    const PipeCommand_Compare matches(Message);
    const auto row = std::find_if(cPipeCommandTable.begin(), cPipeCommandTable.end(), matches);
    return row == cPipeCommandTable.end() ? PIPE_COMMAND_NONE : row->second;
}
