// vesk db: reads and changes record files through the record classes.
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Sonar4/Sonar4MessageTable.h"
#include "Utilities/IOSSFactory.h"
#include "Utilities/ProductFamily.h"
#include "tools/vesk/DbSetters.h"
#include "tools/vesk/Sonar4PacketText.h"
#include "tools/vesk/ToolCommand.h"
#include "tools/vesk/ToolFile.h"

namespace {

// A record named on the command line: its table row and instance, or a
// file given by its path.
struct RecordChoice_T {
    const Sonar4MessageRow_T* pRow = nullptr;
    unsigned Instance = 0;
    std::string Path;
};

// The file name of one instance ("%u" is the instance number).
std::string InstanceFileName(const Sonar4MessageRow_T& Row, unsigned Instance)
{
    char name[256];
    std::snprintf(name, sizeof(name), Row.Record.FileName, Instance);
    return name;
}

// Finds NAME among the records: the message name ("MasterBottomRecord") or
// the file name without ".bin" ("SystemLimits"), any case; records with one
// file per instance take the instance number after the name.
bool FindRecord(const std::string& Name, RecordChoice_T& Choice)
{
    for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
        if (row.Record.FileName == nullptr) {
            continue;
        }
        for (unsigned instance = 0; instance < row.Instances; ++instance) {
            const std::string number = row.Instances > 1 ? std::to_string(instance) : std::string();
            const std::string stem = InstanceFileName(row, instance);
            const std::string names[] = {CSonar4PacketText::MessageName(row) + number,
                                         stem.substr(0, stem.rfind('.'))};
            for (const std::string& candidate : names) {
                if (strcasecmp(candidate.c_str(), Name.c_str()) == 0) {
                    Choice.pRow = &row;
                    Choice.Instance = instance;
                    return true;
                }
            }
        }
    }
    return false;
}

// Resolves a record name or a file path; a usage error text when neither.
std::string Choose(IOSSFactory* pFactory, const std::string& Name, RecordChoice_T& Choice)
{
    if (Name.find('/') != std::string::npos) {
        Choice.Path = Name;
        return "";
    }
    if (!FindRecord(Name, Choice)) {
        return "no record " + Name + " (vesk db list shows them)";
    }
    const char* directory = pFactory->GetEnv(Choice.pRow->Record.DirectoryVariable);
    if (directory == nullptr) {
        return std::string(Choice.pRow->Record.DirectoryVariable) + " is not set";
    }
    Choice.Path = std::string(directory) + "/" + InstanceFileName(*Choice.pRow, Choice.Instance);
    return "";
}

size_t LargestRecord()
{
    size_t largest = 0;
    for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
        largest = std::max(largest, row.Record.PacketSize);
    }
    return largest;
}

int List(CToolArgs& Args)
{
    if (!Args.Empty()) {
        return Args.UsageError("unexpected argument " + Args.Peek());
    }
    std::printf("%-24s %-10s %-28s %-30s %s\n", "record", "id", "file", "directory variable", "bytes");
    for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
        if (row.Record.FileName == nullptr) {
            continue;
        }
        char id[16];
        std::snprintf(id, sizeof(id), "0x%X", row.Id);
        std::string file = row.Record.FileName;
        if (row.Instances > 1) {
            file += " (" + std::to_string(row.Instances) + " files)";
        }
        std::printf("%-24s %-10s %-28s %-30s %zu\n", CSonar4PacketText::MessageName(row).c_str(), id, file.c_str(),
                    row.Record.DirectoryVariable, row.Record.PacketSize);
    }
    return TOOL_OK;
}

// Every layout as Markdown tables, for the protocol's documentation.
int Layouts(CToolArgs& Args)
{
    if (!Args.Empty()) {
        return Args.UsageError("unexpected argument " + Args.Peek());
    }
    for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
        const Sonar4RecordFacts_T& record = row.Record;
        std::printf("### %s (0x%X)\n\n", CSonar4PacketText::MessageName(row).c_str(), row.Id);
        std::printf("`%s`, class `%s`", row.IdName, row.ClassName);
        if (record.FileName != nullptr) {
            std::printf("; file \"%s\" in `%s`%s", record.FileName, record.DirectoryVariable,
                        row.Instances > 1 ? (", one per instance (%u stands for its number)") : "");
        }
        std::printf("; %zu bytes%s.\n\n", record.PacketSize,
                    record.Kind == RECORD_SHARED ? "" : record.Kind == RECORD_NONE ? " (no packet)" : " at most");
        if (record.FieldCount == 0) {
            continue;
        }
        std::printf("| offset | type | count | field | unit |\n|---|---|---|---|---|\n");
        for (size_t i = 0; i < record.FieldCount; ++i) {
            const PacketField_T& field = record.Fields[i];
            std::printf("| %zu | %s | %zu | %s | %s |\n", field.Offset, PacketFieldTypeName(field.Type), field.Count,
                        field.Name, field.Unit);
        }
        std::printf("\n");
    }
    return TOOL_OK;
}

// Shows the file as it is, without the record class: loading through the
// class would delete or rewrite a file it rejects, and a look must not.
int Show(IOSSFactory* pFactory, CToolArgs& Args)
{
    const bool json = Args.TakeOption("json");
    if (Args.Empty()) {
        return Args.UsageError("which record to show is missing");
    }
    RecordChoice_T choice;
    const std::string problem = Choose(pFactory, Args.Take(), choice);
    if (!problem.empty()) {
        return problem.find("is not set") != std::string::npos ? Args.Error(TOOL_UNAVAILABLE, problem)
                                                                : Args.UsageError(problem);
    }
    if (!Args.Empty()) {
        return Args.UsageError("unexpected argument " + Args.Peek());
    }
    // A named record's file is read as far as its packet (and a byte more,
    // to tell a longer file); a path given as far as the largest record.
    const size_t limit = choice.pRow != nullptr ? choice.pRow->Record.PacketSize : LargestRecord();
    const CToolFile::Look_T look = CToolFile::Read(choice.Path, limit);
    if (look.Kind != CToolFile::REGULAR) {
        return Args.Error(TOOL_UNAVAILABLE, choice.Path + " cannot be read: " + CToolFile::Describe(look));
    }
    if (look.Bytes.size() > limit) {
        return Args.Error(TOOL_UNAVAILABLE, choice.Path + " is too large: " + std::to_string(look.Size) +
                                                " bytes, longer than " +
                                                (choice.pRow != nullptr ? "its" : "any") + " record of " +
                                                std::to_string(limit));
    }
    const Sonar4PacketReport_T report = CSonar4PacketText::Decode(look.Bytes.data(), look.Bytes.size());
    if (json) {
        std::printf("%s\n", CSonar4PacketText::Json(report).c_str());
        return report.Flags.empty() ? TOOL_OK : TOOL_FAILED;
    }
    std::printf("%s: %s (0x%X), %zu bytes\n", choice.Path.c_str(), report.Name.c_str(), report.Id, report.Size);
    for (const std::string& flag : report.Flags) {
        std::printf("  FLAGGED %s\n", flag.c_str());
    }
    for (const Sonar4DecodedField_T& field : report.Fields) {
        std::printf("  %-28s %s%s%s\n", field.Name.c_str(), field.Text.c_str(), field.Unit.empty() ? "" : " ",
                    field.Unit.c_str());
    }
    return report.Flags.empty() ? TOOL_OK : TOOL_FAILED;
}

// Makes the record's message object, whose record creates a missing file
// with its defaults, as a task's start does.
int Create(IOSSFactory* pFactory, CToolArgs& Args)
{
    const bool force = Args.TakeOption("force");
    if (Args.Empty()) {
        return Args.UsageError("which record to create is missing");
    }
    RecordChoice_T choice;
    const std::string name = Args.Take();
    if (name.find('/') != std::string::npos) {
        return Args.UsageError("create takes a record name, not a path");
    }
    const std::string problem = Choose(pFactory, name, choice);
    if (!problem.empty()) {
        return problem.find("is not set") != std::string::npos ? Args.Error(TOOL_UNAVAILABLE, problem)
                                                                : Args.UsageError(problem);
    }
    if (choice.pRow->Id == Sonar4_Service_Info_Message || choice.pRow->Id == Sonar4_Unit_Info_Message) {
        // These records stop the process when the unit has no address of
        // the kind they trust (any private one for a known product, else a
        // "10." one): say so instead.
        const int addressChoice = GetProductFamily(pFactory) != cProductFamilyUnknown ? SYSTEM_ADDRESS_PRIVATE_FIRST
                                                                                       : SYSTEM_ADDRESS_TEN_NET;
        const std::unique_ptr<IOSSNetwork> socket(pFactory->CreateNetwork(AF_INET, SOCK_DGRAM, 17, addressChoice));
        AUINT32 address = 0;
        if (!socket->GetSystemIPAddress(&address) || address == 0) {
            return Args.Error(TOOL_UNAVAILABLE, "this machine has no address the record can publish (a 10.x.x.x "
                                                "one, or any private one when PRODUCT_ID names a known product)");
        }
    }
    if (access(choice.Path.c_str(), F_OK) == 0) {
        if (!force) {
            return Args.Error(TOOL_FAILED, choice.Path + " exists; --force replaces it with the defaults");
        }
        if (std::remove(choice.Path.c_str()) != 0) {
            return Args.Error(TOOL_FAILED, choice.Path + " cannot be removed: " + std::strerror(errno));
        }
    }
    Sonar4MessageMap_T made;
    // The unit info record takes its address from the service info
    // message, as in the codec, which makes that one first.
    if (choice.pRow->Id == Sonar4_Unit_Info_Message) {
        const Sonar4MessageRow_T* serviceInfo = FindSonar4MessageRow(Sonar4_Service_Info_Message);
        made.insert({serviceInfo->Id, serviceInfo->Make({pFactory, 0, &made})});
    }
    const Sonar4MessageContext_T context{pFactory, static_cast<PingConfigIndex_T>(choice.Instance), &made};
    const std::unique_ptr<ISonar4Message> message(choice.pRow->Make(context));
    DeleteSonar4Messages(made);
    if (access(choice.Path.c_str(), F_OK) != 0) {
        // The error status record, for one, writes its file only at its
        // first store, so that reading it never creates it.
        return Args.Error(TOOL_FAILED, choice.Path + " was not created: the record makes its file only at its " +
                                           "first store (vesk db set), or see the event lines above");
    }
    std::printf("%s: created with its defaults\n", choice.Path.c_str());
    return TOOL_OK;
}

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
        return Args.UsageError(invalid + " (" + record + " sets " + setter->Fields + ")");
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
    if (action == "show") {
        return Show(pFactory, Args);
    }
    if (action == "create") {
        return Create(pFactory, Args);
    }
    if (action == "list") {
        return List(Args);
    }
    if (action == "layouts") {
        return Layouts(Args);
    }
    return Args.UsageError(action.empty() ? "what to do is missing" : "unknown action " + action);
}

} // namespace

const ToolCommand_T cDbCommand = {
    "db", "print, set and create record files through the record classes",
    "usage: vesk db list\n"
    "       vesk db show [--json] RECORD|FILE\n"
    "       vesk db create [--force] RECORD\n"
    "       vesk db set RECORD FIELD=VALUE...\n"
    "       vesk db layouts\n"
    "\n"
    "RECORD is a record's name as vesk db list shows it (MasterBottomRecord),\n"
    "or its file name without .bin; records kept one file per ping\n"
    "configuration take its number (PingParameters5). The directory comes\n"
    "from the record's variable in the unit's environment.\n"
    "\n"
    "list    every record the codec knows: name, id, file, directory, size\n"
    "show    every field of the file with its value and unit, as the file is\n"
    "        (nothing is changed); a file whose size, id, size field or\n"
    "        version is wrong is FLAGGED\n"
    "layouts every message's field layout as Markdown tables\n"
    "create  makes the record's file with its defaults, through its class;\n"
    "        --force replaces an existing file\n"
    "set     loads the record through its class, changes the fields and stores\n"
    "        it (the file lock and the record's validation apply). Settable:\n"
    "          SystemSettings   DepthOffset\n"
    "          ErrorStatus      ErrorStatus\n"
    "          Command          CommandWord, CommandCode\n"
    "          LocalBottom:EXT  Depth, State\n"
    "        VALUE is decimal or 0x hexadecimal.\n"
    "\n"
    "exit: 0 done; 1 the store or creation failed, or the file is flagged;\n"
    "      2 wrong command line;\n"
    "      3 a directory variable is unset, or the file unreadable, no regular\n"
    "        file or larger than the record\n",
    &Run};
