// Record files as the task reads them from disk (the settings every turn,
// the records read back for the broadcast, every record at start), for
// every record: whatever another process, an older version or a damaged
// disk left in the file. The first input byte chooses the record, the rest
// is the file.
//
// A file whose id or size field is not the record's own stops the unit on
// purpose: only a record of another type, or a hand, can have written it,
// and the record treats it as a programming error (a fatal assertion). The
// harness passes those two fields over: in a file long enough to hold them
// it writes the record's own id and size there, and fuzzes every other byte.
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "Database/DatabaseEnvironmentLimitsMessage.h"
#include "Database/DatabaseErrorStatusMessage.h"
#include "Database/DatabaseMasterBottomRecordMessage.h"
#include "Database/DatabaseSystemLimitsMessage.h"
#include "Database/DatabaseSystemSettingsMessage.h"
#include "Sonar4/Sonar4Packet.h"
#include "Utilities/LittleEndian.h"
#include "fuzz/FuzzUnit.h"
#include "tests/support/Sandbox.h"

namespace {

constexpr uint32_t cUnitSerialNumber = 1234;  // the fuzz unit's override

struct Entry {
    std::unique_ptr<CDatabaseRecord> Record;
    bool Addressed;
    uint32_t Id = 0;
    size_t Size = 0;
};

std::vector<Entry> MakeEntries()
{
    IOSSFactory* factory = FuzzUnit::Factory();
    std::vector<Entry> entries;
    entries.push_back({std::make_unique<CDatabaseEnvironmentLimitsMessage>(factory), true});
    entries.push_back({std::make_unique<CDatabaseSystemLimitsMessage>(factory), true});
    entries.push_back({std::make_unique<CDatabaseSystemSettingsMessage>(factory), true});
    entries.push_back({std::make_unique<CDatabaseMasterBottomRecordMessage>(factory), true});
    entries.push_back({std::make_unique<CDatabaseErrorStatusMessage>(factory), true});
    for (Entry& entry : entries) {
        // Id and size as the record's own fresh file has them.
        entry.Record->writeDB();
        const std::string file = CSandbox::ReadFile(entry.Record->GetDBFilePath());
        FuzzUnit::Require(file.size() >= cSonar4HeaderSize, "a record wrote no header");
        entry.Id = LittleEndian::Read<uint32_t>(reinterpret_cast<const uint8_t*>(file.data()));
        entry.Size = file.size();
    }
    return entries;
}

// The packet the record holds in memory: what it stores.
std::string Held(CDatabaseRecord& Record)
{
    FuzzUnit::Require(Record.writeDB() == SUCCESS, "the record could not be stored");
    return CSandbox::ReadFile(Record.GetDBFilePath());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzUnit::Prepare();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size)
{
    static std::vector<Entry> entries = MakeEntries();
    if (Size == 0) {
        return 0;
    }
    Entry& entry = entries[Data[0] % entries.size()];
    CDatabaseRecord& record = *entry.Record;
    const std::string path = record.GetDBFilePath();

    std::vector<uint8_t> file = FuzzUnit::WithMessageId(Data + 1, Size - 1, entry.Id);
    file.resize(Size - 1);
    if (file.size() >= 8) {
        LittleEndian::Write<uint32_t>(file.data() + 4, static_cast<uint32_t>(entry.Size));
    }
    const std::string before = Held(record);
    FuzzUnit::WriteFile(path, file.data(), file.size());
    const VeskEventCode_T result = record.readDB();

    // A short file is an older layout: refused and removed. A whole one of
    // another protocol version or unit is removed too, without a failure.
    // Either way the record keeps what it held. Anything else is loaded.
    const bool whole = file.size() >= entry.Size;
    const bool ours = whole && Sonar4HeaderView{file.data()}.GetSonar4Version() == SONAR4_VERSION &&
                      (!entry.Addressed || Sonar4HeaderView{file.data()}.GetSerialNumber() == cUnitSerialNumber);
    FuzzUnit::Require(result == (whole ? SUCCESS : FAILED_TO_READ_FILE_CONTENTS), "unexpected load result");
    FuzzUnit::Require(CSandbox::Exists(path) == ours, "a refused file was kept or an accepted one removed");
    const std::string held = Held(record);
    if (ours) {
        FuzzUnit::Require(held == std::string(file.begin(), file.begin() + static_cast<long>(entry.Size)),
                          "the loaded record is not the file");
    } else {
        FuzzUnit::Require(held == before, "a refused file changed the record");
    }

    // The message handed out is the file (recreated by the records that
    // recreate a missing file; the error status record waits for a store).
    std::remove(path.c_str());
    uint8_t message[2048];
    Buffer_Bytes_T buffer(message, sizeof(message));
    const VeskEventCode_T made = record.CreateMessage(&buffer);
    FuzzUnit::Require(made == SUCCESS || made == ENOENT, "no message from the record");
    if (made == SUCCESS) {
        FuzzUnit::Require(std::string(message, message + buffer.size()) == CSandbox::ReadFile(path),
                          "the message is not the file");
    }
    return 0;
}
