// Discovery packets from neighbouring sounders, of any length: they must
// never be read past their end, and a port clash must leave this unit on
// ports that clash with neither of the neighbour's.
//
// Needs an interface with a "10." address: run it in a network namespace
// of its own (see fuzz/CMakeLists.txt).
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <memory>

#include "Database/DatabaseServiceInfoMessage.h"
#include "Utilities/LittleEndian.h"
#include "fuzz/FuzzUnit.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzUnit::Prepare();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size)
{
    // Every packet meets a unit fresh from its defaults: the ports a
    // neighbour is known to use accumulate in the record, and running out
    // of free ports stops the unit on purpose.
    std::remove(FuzzUnit::PathOf("systemdata/ServiceInfo.bin").c_str());
    CDatabaseServiceInfoMessage serviceInfo(FuzzUnit::Factory());
    const IPPort32_T ourControl = serviceInfo.GetControlPort();
    const IPPort32_T ourData = serviceInfo.GetDataPort();

    std::vector<uint8_t> bytes = FuzzUnit::WithMessageId(Data, Size, Sonar4_Service_Info_Message);
    const Buffer_Bytes_T packet(bytes.data(), Size);
    serviceInfo.DecodeMessage(&packet);

    if (serviceInfo.GetControlPort() == ourControl && serviceInfo.GetDataPort() == ourData) {
        return 0;
    }
    Sonar4ServiceInfoPacket theirs{};
    std::memcpy(theirs.data(), bytes.data(), std::min(Size, sizeof(theirs)));
    const IPPort32_T control = serviceInfo.GetControlPort();
    const IPPort32_T data = serviceInfo.GetDataPort();
    FuzzUnit::Require(control != data, "moved onto one port for control and data");
    for (const IPPort32_T taken : {theirs.GetControlPort(), theirs.GetDataPort()}) {
        FuzzUnit::Require(control != taken && data != taken, "moved onto a neighbour's port");
    }
    FuzzUnit::Require(control >= CDatabaseServiceInfoMessage::cMinimumValidPort &&
                          control <= CDatabaseServiceInfoMessage::cMaximumValidPort &&
                          data >= CDatabaseServiceInfoMessage::cMinimumValidPort &&
                          data <= CDatabaseServiceInfoMessage::cMaximumValidPort,
                      "moved outside the sounder ports");
    return 0;
}
