// vesk: the operator's tool of a unit's tasks. One executable with a
// subcommand per job, all built on the product's own records, codec and
// message table, so that it reads and writes exactly what the tasks do.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Utilities/OSSLinuxFactory.h"
#include "Utilities/StandardStreams.h"
#include "tools/vesk/EnvFile.h"
#include "tools/vesk/ToolCommand.h"

#ifndef VESK_VERSION
#error "VESK_VERSION comes from the project version"
#endif
#ifndef VESK_DEFAULT_ENV_FILE
#error "VESK_DEFAULT_ENV_FILE is where the package installs the unit's environment file"
#endif

namespace {

const ToolCommand_T* const cCommands[] = {&cDumpCommand,     &cDbCommand,      &cCheckCommand,     &cSendCommand,
                                          &cPidCommand,      &cPingTaskCommand, &cDisplayCommand, &cDissectorCommand};

void Overview(FILE* Out)
{
    std::fprintf(Out,
                 "usage: vesk [--env FILE] COMMAND [ARGUMENTS]   (vesk COMMAND --help for each)\n"
                 "       vesk --version\n\ncommands:\n");
    for (const ToolCommand_T* command : cCommands) {
        std::fprintf(Out, "  %-10s %s\n", command->Name, command->Summary);
    }
    std::fprintf(Out,
                 "\nexit status: 0 done; 1 not so (problems found, packet flagged, no answer);\n"
                 "             2 wrong command line; 3 an input could not be used\n"
                 "The unit's environment gives the directories, pipes and serial number.\n"
                 "Variables not set already are taken from the environment file: --env FILE,\n"
                 "else $VESK_ENV_FILE (empty: none), else " VESK_DEFAULT_ENV_FILE
                 " when\nit exists.\n");
}

// Loads the unit's environment file; false after naming why it cannot.
bool LoadEnvironment(const char* Given)
{
    const char* variable = std::getenv("VESK_ENV_FILE");
    const bool required = Given != nullptr || variable != nullptr;
    const std::string path = Given != nullptr ? Given : variable != nullptr ? variable : VESK_DEFAULT_ENV_FILE;
    if (path.empty()) {
        return true;
    }
    std::string error;
    if (!CEnvFile::Load(path, required, error)) {
        std::fprintf(stderr, "vesk: environment file %s\n", error.c_str());
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    // Before anything is opened: a file or pipe must never land on 0, 1 or 2.
    if (!OpenStandardStreams()) {
        return TOOL_UNAVAILABLE;
    }
    int first = 1;
    const char* envFile = nullptr;
    if (first < argc && std::strcmp(argv[first], "--env") == 0) {
        if (first + 1 >= argc || argv[first + 1][0] == '\0') {
            std::fprintf(stderr, "vesk: --env takes the environment file's path\n");
            return TOOL_USAGE;
        }
        envFile = argv[first + 1];
        first += 2;
    } else if (first < argc && std::strncmp(argv[first], "--env=", 6) == 0) {
        envFile = argv[first] + 6;
        if (*envFile == '\0') {
            std::fprintf(stderr, "vesk: --env takes the environment file's path\n");
            return TOOL_USAGE;
        }
        ++first;
    }
    if (first >= argc) {
        Overview(stderr);
        return TOOL_USAGE;
    }
    const std::string name = argv[first];
    const bool alone = first + 1 == argc;
    if (name == "--version") {
        if (!alone) {
            std::fprintf(stderr, "vesk: --version takes no argument\n");
            return TOOL_USAGE;
        }
        std::printf("vesk %s\n", VESK_VERSION);
        return TOOL_OK;
    }
    if (name == "--help" || name == "-h" || name == "help") {
        Overview(stdout);
        return TOOL_OK;
    }
    for (const ToolCommand_T* command : cCommands) {
        if (name != command->Name) {
            continue;
        }
        if (!alone && (std::strcmp(argv[first + 1], "--help") == 0 || std::strcmp(argv[first + 1], "-h") == 0)) {
            std::fputs(command->Help, stdout);
            return TOOL_OK;
        }
        if (!LoadEnvironment(envFile)) {
            return TOOL_UNAVAILABLE;
        }
        COSSLinuxFactory factory;
        factory.SetName(std::string("vesk-") + command->Name);
        CToolArgs args(command->Name, argc - first - 1, argv + first + 1);
        return command->Run(&factory, args);
    }
    std::fprintf(stderr, "vesk: unknown command '%s'\n\n", name.c_str());
    Overview(stderr);
    return TOOL_USAGE;
}
