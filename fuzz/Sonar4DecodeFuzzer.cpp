// Anything arriving on the unit's control port: the codec reads the header
// of any packet of at least 8 bytes and hands the packet to the message
// that owns its id.
//
// Needs an interface with a "10." address: run it in a network namespace
// of its own (see fuzz/CMakeLists.txt).
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include "Sonar4/Sonar4.h"
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
    if (Size < cHeaderFields) {
        return 0;
    }
    // A fresh codec per packet: see ServiceInfoFuzzer.cpp for why the
    // service info record must start from its defaults each time.
    std::remove(FuzzUnit::PathOf("systemdata/ServiceInfo.bin").c_str());
    CSonar4 codec(FuzzUnit::Factory());

    std::unique_ptr<uint8_t[]> bytes(new uint8_t[Size]);
    std::memcpy(bytes.get(), Data, Size);
    const Buffer_Bytes_T packet(bytes.get(), Size);

    FuzzUnit::Require(codec.GetMessageID(&packet) == LittleEndian::Read<uint32_t>(Data), "wrong message id");
    FuzzUnit::Require(codec.GetMessageSize(&packet) == LittleEndian::Read<uint32_t>(Data + 4), "wrong message size");
    codec.GetPingConfigIndex(&packet);

    LNET_MESSAGE_ID_T id = 0xFFFFFFFF;
    const VeskEventCode_T result = codec.DecodeMessage(&packet, &id);
    FuzzUnit::Require(id == LittleEndian::Read<uint32_t>(Data), "the decoded id is not the packet's");
    if (result == SUCCESS) {
        FuzzUnit::Require(codec.GetReceivedCount(id) == 1 && codec.GetDecodeErrorCount() == 0, "miscounted");
    } else {
        FuzzUnit::Require(codec.GetReceivedCount(id) == 0 && codec.GetDecodeErrorCount() == 1, "miscounted");
    }
    return 0;
}
