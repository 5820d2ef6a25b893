// Anything arriving on the unit's control port: the codec reads the header
// of any packet of at least 8 bytes and hands the packet to the message
// that owns its id. The first input byte steers the id: below 0x80 the
// packet keeps its own, else it gets the id of a row of the codec's message
// table. The rest is the packet.
//
// Needs an interface with a "10." address: run it in a network namespace
// of its own (see fuzz/CMakeLists.txt).
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include "Sonar4/Sonar4.h"
#include "Sonar4/Sonar4MessageTable.h"
#include "Utilities/LittleEndian.h"
#include "fuzz/FuzzUnit.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzUnit::Prepare();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size)
{
    constexpr size_t cHeaderFields = 8;
    if (Size < 1 + cHeaderFields) {
        return 0;
    }
    const Sonar4MessageTable_T& table = GetSonar4MessageTable();
    const bool ownId = Data[0] < 0x80;
    const size_t row = (Data[0] - 0x80u) % table.Count;
    ++Data;
    --Size;
    // A fresh codec per packet: see ServiceInfoFuzzer.cpp for why the
    // service info record must start from its defaults each time.
    std::remove(FuzzUnit::PathOf("systemdata/ServiceInfo.bin").c_str());
    CSonar4 codec(FuzzUnit::Factory());

    std::unique_ptr<uint8_t[]> bytes(new uint8_t[Size]);
    std::memcpy(bytes.get(), Data, Size);
    if (!ownId) {
        LittleEndian::Write<uint32_t>(bytes.get(), table.Rows[row].Id);
    }
    const Buffer_Bytes_T packet(bytes.get(), Size);
    const LNET_MESSAGE_ID_T sentId = LittleEndian::Read<uint32_t>(bytes.get());

    FuzzUnit::Require(codec.GetMessageID(&packet) == sentId, "wrong message id");
    FuzzUnit::Require(codec.GetMessageSize(&packet) == LittleEndian::Read<uint32_t>(Data + 4), "wrong message size");
    codec.GetPingConfigIndex(&packet);

    LNET_MESSAGE_ID_T id = 0xFFFFFFFF;
    const VeskEventCode_T result = codec.DecodeMessage(&packet, &id);
    FuzzUnit::Require(id == sentId, "the decoded id is not the packet's");
    if (result == SUCCESS) {
        FuzzUnit::Require(codec.GetReceivedCount(id) == 1 && codec.GetDecodeErrorCount() == 0, "miscounted");
    } else {
        FuzzUnit::Require(codec.GetReceivedCount(id) == 0 && codec.GetDecodeErrorCount() == 1, "miscounted");
    }
    return 0;
}
