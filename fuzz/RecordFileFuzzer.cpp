// Record files as the task reads them from disk (the settings every turn,
// the records read back for the broadcast, every record at start), for
// every record of the codec's message table built on the shared record
// rules: whatever another process, an older version or a damaged
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
#include <string>
#include <vector>

#include "Sonar4/Sonar4MessageTable.h"
#include "Sonar4/Sonar4Packet.h"
#include "Utilities/LittleEndian.h"
#include "fuzz/FuzzUnit.h"
#include "tests/support/Sandbox.h"

namespace {

constexpr uint32_t cUnitSerialNumber = 1234;  // the fuzz unit's override

using FuzzUnit::FuzzedRecord;

// The record's packet as the message hands it out (it reads the file).
VeskEventCode_T Build(ISonar4Message& Message, std::string& Packet)
{
    std::vector<uint8_t> bytes(Message.GetPacketSize());
    Buffer_Bytes_T buffer(bytes.data(), bytes.size());
    const VeskEventCode_T result = Message.CreateMessage(&buffer);
    Packet.assign(bytes.begin(), bytes.begin() + static_cast<long>(result == SUCCESS ? buffer.size() : 0));
    return result;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzUnit::Prepare();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size)
{
    const std::vector<FuzzedRecord>& records = FuzzUnit::SharedRecords();
    if (Size == 0) {
        return 0;
    }
    const FuzzedRecord& fuzzed = records[Data[0] % records.size()];
    ISonar4Message& message = *fuzzed.Message;
    const Sonar4RecordFacts_T& facts = fuzzed.Row->Record;
    const std::string path = message.GetDBFilePath();

    std::vector<uint8_t> file = FuzzUnit::WithMessageId(Data + 1, Size - 1, fuzzed.Row->Id);
    file.resize(Size - 1);
    if (file.size() >= 8) {
        LittleEndian::Write<uint32_t>(file.data() + 4, static_cast<uint32_t>(facts.PacketSize));
    }
    // What the record holds before: its file as it stands (made afresh when
    // an earlier input had it removed).
    std::string before;
    if (Build(message, before) != SUCCESS) {
        Build(message, before);
    }
    // Some messages carry live values (a time, a counter) that change from
    // one hand-out to the next, and a record that waits for a store before
    // it has a file hands out nothing: their content is not compared below.
    std::string again;
    const bool steady = Build(message, again) == SUCCESS && again == before;
    FuzzUnit::WriteFile(path, file.data(), file.size());
    std::string after;
    const VeskEventCode_T result = Build(message, after);

    // A short file is an older layout: refused and removed. A whole one of
    // another protocol version or unit is removed too, without a failure,
    // and the record hands out what it held. Anything else is loaded.
    const bool whole = file.size() >= facts.PacketSize;
    const bool ours = whole && Sonar4HeaderView{file.data()}.GetSonar4Version() == SONAR4_VERSION &&
                      (facts.UnitCheck != UNIT_CHECK_VERSION_AND_SERIAL ||
                       Sonar4HeaderView{file.data()}.GetSerialNumber() == cUnitSerialNumber);
    FuzzUnit::Require(result == (whole ? SUCCESS : FAILED_TO_READ_FILE_CONTENTS), "unexpected load result");
    FuzzUnit::Require(CSandbox::Exists(path) == ours, "a refused file was kept or an accepted one removed");
    if (!whole) {
        return 0;
    }
    if (!ours) {
        FuzzUnit::Require(!steady || after == before, "a refused file changed the record");
    } else if (steady && !facts.Validates) {
        FuzzUnit::Require(after == std::string(file.begin(), file.begin() + static_cast<long>(facts.PacketSize)),
                          "the loaded record is not the file");
    } else {
        FuzzUnit::Require(after.size() == facts.PacketSize, "the loaded record has another size");
    }
    return 0;
}
