// vesk: the operator's tool of a unit's tasks. One executable with a
// subcommand per job, all built on the product's own records, codec and
// message table, so that it reads and writes exactly what the tasks do.
#include <cstdio>
#include <cstring>
#include <string>

#include "Utilities/OSSLinuxFactory.h"
#include "tools/vesk/ToolCommand.h"

#ifndef VESK_VERSION
#error "VESK_VERSION comes from the project version"
#endif

namespace {

const ToolCommand_T* const cCommands[] = {&cDumpCommand, &cDbCommand, &cCheckCommand,    &cSendCommand,
                                          &cPingTaskCommand, &cDisplayCommand, &cDissectorCommand};

void Overview(FILE* Out)
{
    std::fprintf(Out,
                 "usage: vesk COMMAND [ARGUMENTS]   (vesk COMMAND --help for each)\n"
                 "       vesk --version\n\ncommands:\n");
    for (const ToolCommand_T* command : cCommands) {
        std::fprintf(Out, "  %-10s %s\n", command->Name, command->Summary);
    }
    std::fprintf(Out,
                 "\nexit status: 0 done; 1 not so (problems found, packet flagged, no answer);\n"
                 "             2 wrong command line; 3 an input could not be used\n"
                 "The unit's environment (as in the task's environment file) gives the\n"
                 "directories, pipes and serial number.\n");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        Overview(stderr);
        return TOOL_USAGE;
    }
    const std::string first = argv[1];
    if (first == "--version") {
        std::printf("vesk %s\n", VESK_VERSION);
        return TOOL_OK;
    }
    if (first == "--help" || first == "-h" || first == "help") {
        Overview(stdout);
        return TOOL_OK;
    }
    for (const ToolCommand_T* command : cCommands) {
        if (first != command->Name) {
            continue;
        }
        if (argc > 2 && (std::strcmp(argv[2], "--help") == 0 || std::strcmp(argv[2], "-h") == 0)) {
            std::fputs(command->Help, stdout);
            return TOOL_OK;
        }
        COSSLinuxFactory factory;
        factory.SetName(std::string("vesk-") + command->Name);
        CToolArgs args(command->Name, argc - 2, argv + 2);
        return command->Run(&factory, args);
    }
    std::fprintf(stderr, "vesk: unknown command '%s'\n\n", argv[1]);
    Overview(stderr);
    return TOOL_USAGE;
}
