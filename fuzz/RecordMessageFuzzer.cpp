// Record packets received from the network, of any size and content, for
// every record of the codec's message table built on the shared record
// machinery. The first input byte chooses the row, the rest is the packet.
//
// A packet carrying another record's id is a programming error of the
// caller (the codec dispatches by id) and stops the unit on purpose, so the
// id of a packet long enough to hold one is set to the record's own.
//
// The unit info record is made with the service info record's address,
// which the unit double's network answers.
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "Sonar4/Sonar4MessageTable.h"
#include "Utilities/LittleEndian.h"
#include "fuzz/FuzzUnit.h"

namespace {

using FuzzUnit::FuzzedRecord;

std::vector<uint8_t> Build(ISonar4Message& Message)
{
    std::vector<uint8_t> built(Message.GetPacketSize() + 1);
    Buffer_Bytes_T buffer(built.data(), built.size());
    FuzzUnit::Require(Message.CreateMessage(&buffer) == SUCCESS, "the stored packet could not be built");
    FuzzUnit::Require(buffer.size() == Message.GetPacketSize(), "the built packet has another size");
    built.resize(buffer.size());
    return built;
}

// The outcome every record promises: a packet shorter than the record, or
// for another unit or protocol version, is refused with E2BIG and changes
// nothing; any other is taken over whole (its size field corrected, out of
// range values replaced where the record validates) and stored, so that
// building the record's message yields it again.
void Decode(const FuzzedRecord& Record, const uint8_t* Data, size_t Size)
{
    ISonar4Message& message = *Record.Message;
    const size_t packetSize = message.GetPacketSize();
    std::vector<uint8_t> bytes = FuzzUnit::WithMessageId(Data, Size, Record.Row->Id);
    const Buffer_Bytes_T packet(bytes.data(), Size);

    const std::vector<uint8_t> before = Build(message);
    const VeskEventCode_T result = message.DecodeMessage(&packet);
    const std::vector<uint8_t> after = Build(message);

    if (result != SUCCESS) {
        FuzzUnit::Require(result == E2BIG, "a refused packet is reported as E2BIG");
        FuzzUnit::Require(before == after, "a refused packet changed the record");
        return;
    }
    FuzzUnit::Require(Size >= packetSize, "a short packet was accepted");
    if (!Record.Row->Record.Validates) {
        LittleEndian::Write<uint32_t>(bytes.data() + cSonar4SizeOffset, static_cast<uint32_t>(packetSize));
        FuzzUnit::Require(std::memcmp(bytes.data(), after.data(), packetSize) == 0,
                          "the stored packet is not the received one");
        return;
    }
    // What validation leaves is valid: stored again, it stays as it is.
    const Buffer_Bytes_T stored(const_cast<uint8_t*>(after.data()), after.size());
    FuzzUnit::Require(message.DecodeMessage(&stored) == SUCCESS, "a stored packet was refused");
    FuzzUnit::Require(Build(message) == after, "validation changed an already valid packet");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzUnit::Prepare();
    FuzzUnit::SharedRecords();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size)
{
    if (Size == 0) {
        return 0;
    }
    const std::vector<FuzzedRecord>& records = FuzzUnit::SharedRecords();
    Decode(records[Data[0] % records.size()], Data + 1, Size - 1);
    return 0;
}
