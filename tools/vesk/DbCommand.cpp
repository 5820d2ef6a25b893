// vesk db: reads and changes record files through the record classes.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Utilities/IOSSFactory.h"
#include "tools/vesk/DbSetters.h"
#include "tools/vesk/ToolCommand.h"

namespace {

int Set(IOSSFactory* pFactory, CToolArgs& Args)
{
    if (Args.Empty()) {
        return Args.UsageError("which record to set is missing");
    }
    const std::string name = Args.Take();
    const size_t colon = name.find(':');
    const std::string record = name.substr(0, colon);
    const std::string argument = colon == std::string::npos ? std::string() : name.substr(colon + 1);
    const DbSetter_T* setter = nullptr;
    for (const DbSetter_T& candidate : DbSetters()) {
        if (record == candidate.Record) {
            setter = &candidate;
        }
    }
    if (setter == nullptr) {
        return Args.UsageError("no settable record " + record);
    }
    if (record == "LocalBottom" && argument.empty()) {
        return Args.UsageError("LocalBottom takes its ping task's extension: LocalBottom:PPT");
    }
    std::vector<DbFieldValue_T> values;
    for (const std::string& assignment : Args.Rest()) {
        const size_t equals = assignment.find('=');
        DbFieldValue_T value{assignment.substr(0, equals), 0};
        if (equals == std::string::npos ||
            !ParseNumber(assignment.substr(equals + 1), INT64_MIN, INT64_MAX, value.Value)) {
            return Args.UsageError("'" + assignment + "' is not FIELD=NUMBER");
        }
        values.push_back(value);
    }
    if (values.empty()) {
        return Args.UsageError("no FIELD=VALUE given");
    }
    const std::string invalid = setter->Validate(values);
    if (!invalid.empty()) {
        return Args.UsageError(invalid);
    }
    if (pFactory->GetEnv(setter->DirectoryVariable) == nullptr) {
        return Args.Error(TOOL_UNAVAILABLE, std::string(setter->DirectoryVariable) + " is not set");
    }
    std::string path;
    const VeskEventCode_T stored = setter->Apply(pFactory, argument, values, path);
    if (stored != SUCCESS) {
        return Args.Error(TOOL_FAILED, "cannot store " + path + " (event code " + std::to_string(stored) + ")");
    }
    std::printf("%s: stored\n", path.c_str());
    return TOOL_OK;
}

int Run(IOSSFactory* pFactory, CToolArgs& Args)
{
    const std::string action = Args.Take();
    if (action == "set") {
        return Set(pFactory, Args);
    }
    return Args.UsageError(action.empty() ? "what to do is missing" : "unknown action " + action);
}

} // namespace

const ToolCommand_T cDbCommand = {
    "db", "print, set and create record files through the record classes",
    "usage: vesk db set RECORD FIELD=VALUE...\n"
    "\n"
    "set     loads the record through its class, changes the fields and stores\n"
    "        it (the file lock and the record's validation apply). Settable:\n"
    "          SystemSettings   DepthOffset\n"
    "          ErrorStatus      ErrorStatus\n"
    "          LocalBottom:EXT  Depth, State\n"
    "        VALUE is decimal or 0x hexadecimal.\n"
    "\n"
    "exit: 0 done; 1 the store failed; 2 wrong command line;\n"
    "      3 a directory variable is unset or a file unreadable\n",
    &Run};
