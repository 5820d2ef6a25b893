// Record packets received from the network, of any size and content. The
// first input byte chooses the record, the rest is the packet.
//
// A packet carrying another record's id is a programming error of the
// caller (the codec dispatches by id) and stops the unit on purpose, so the
// id of a packet long enough to hold one is set to the record's own.
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "Database/DatabaseErrorStatusMessage.h"
#include "Database/DatabaseMasterBottomRecordMessage.h"
#include "Database/DatabaseSystemLimitsMessage.h"
#include "Utilities/LittleEndian.h"
#include "fuzz/FuzzUnit.h"

namespace {

// The outcome every record promises: a packet shorter than the record, or
// for another unit or protocol version, is refused with E2BIG and changes
// nothing; any other is taken over whole (its size field corrected) and
// stored, so that building the record's message yields it again.
template <typename Record>
void Decode(Record& record, LNET_MESSAGE_ID_T Id, const uint8_t* Data, size_t Size)
{
    constexpr size_t packetSize = Record::cPacketSize;
    std::vector<uint8_t> bytes = FuzzUnit::WithMessageId(Data, Size, Id);
    const Buffer_Bytes_T packet(bytes.data(), Size);

    uint8_t before[packetSize];
    std::memcpy(before, record.GetPacket().data(), packetSize);
    const VeskEventCode_T result = record.DecodeMessage(&packet);

    if (result != SUCCESS) {
        FuzzUnit::Require(result == E2BIG, "a refused packet is reported as E2BIG");
        FuzzUnit::Require(std::memcmp(before, record.GetPacket().data(), packetSize) == 0,
                          "a refused packet changed the record");
        return;
    }
    FuzzUnit::Require(Size >= packetSize, "a short packet was accepted");
    LittleEndian::Write<uint32_t>(bytes.data() + 4, static_cast<uint32_t>(packetSize));
    FuzzUnit::Require(std::memcmp(bytes.data(), record.GetPacket().data(), packetSize) == 0,
                      "the accepted packet is not the record");

    uint8_t built[packetSize + 1] = {};
    Buffer_Bytes_T message(built, sizeof(built));
    FuzzUnit::Require(record.CreateMessage(&message) == SUCCESS, "the stored packet could not be built again");
    FuzzUnit::Require(message.size() == packetSize && std::memcmp(built, bytes.data(), packetSize) == 0,
                      "the stored packet came back changed");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzUnit::Prepare();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size)
{
    static CDatabaseMasterBottomRecordMessage masterBottom(FuzzUnit::Factory());
    static CDatabaseErrorStatusMessage errorStatus(FuzzUnit::Factory());
    static CDatabaseSystemLimitsMessage systemLimits(FuzzUnit::Factory());

    if (Size == 0) {
        return 0;
    }
    const uint8_t* packet = Data + 1;
    const size_t packetSize = Size - 1;
    switch (Data[0] % 3) {
    case 0:
        Decode(masterBottom, Message_Id_Sonar4_Master_Bottom_Record, packet, packetSize);
        break;
    case 1:
        Decode(errorStatus, Message_Id_Sonar4_Error_Status, packet, packetSize);
        break;
    default:
        Decode(systemLimits, Message_Id_Sonar4_System_Settings_Limits, packet, packetSize);
        break;
    }
    return 0;
}
