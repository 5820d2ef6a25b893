#ifndef TOOLS_VESK_TOOLCOMMAND_H
#define TOOLS_VESK_TOOLCOMMAND_H

#include <string>
#include <vector>

class IOSSFactory;

// Exit statuses of every subcommand; scripts and the service files test them.
enum ToolExit_T {
    TOOL_OK = 0,
    // What was asked did not happen or was not so: a check found problems,
    // a packet was flagged, a store failed, no acknowledgement came.
    TOOL_FAILED = 1,
    // The command line was wrong: unknown subcommand, option or value.
    TOOL_USAGE = 2,
    // An input could not be used: a file that does not open, an unset
    // variable the subcommand needs, a socket that does not bind.
    TOOL_UNAVAILABLE = 3,
};

// The arguments after the subcommand's name, taken from the front.
class CToolArgs {
public:
    CToolArgs(const char* Command, int argc, char** argv);

    bool Empty() const { return m_Next >= m_Args.size(); }
    // The next argument, or "" when none is left.
    const std::string& Peek() const;
    std::string Take();
    // Takes "--Name" or "--Name=value" when it is next; Value gets the text
    // after '=' (or the following argument when NeedsValue and no '=').
    bool TakeOption(const char* Name, std::string* Value = nullptr, bool NeedsValue = false);
    // All that is left.
    std::vector<std::string> Rest();

    // Prints "vesk <command>: <Text>" and a hint at --help; TOOL_USAGE.
    int UsageError(const std::string& Text) const;
    // Prints "vesk <command>: <Text>"; returns Exit.
    int Error(int Exit, const std::string& Text) const;

private:
    std::string m_Command;
    std::vector<std::string> m_Args;
    size_t m_Next = 0;
};

// Whole decimal text (optional sign) that fits Value; false otherwise.
bool ParseNumber(const std::string& Text, long long Minimum, long long Maximum, long long& Value);

struct ToolCommand_T {
    const char* Name;
    // One line for the overview.
    const char* Summary;
    // The full --help text.
    const char* Help;
    int (*Run)(IOSSFactory* pFactory, CToolArgs& Args);
};

// The subcommands, defined beside their code; main lists them.
extern const ToolCommand_T cDumpCommand;
extern const ToolCommand_T cDbCommand;
extern const ToolCommand_T cCheckCommand;
extern const ToolCommand_T cSendCommand;
extern const ToolCommand_T cPingTaskCommand;
extern const ToolCommand_T cDisplayCommand;
extern const ToolCommand_T cDissectorCommand;
extern const ToolCommand_T cPidCommand;

#endif
