// Legacy transducer files as a user may drop them into the supported
// directory: any bytes at all, read as the record file a selection copies
// them to, then made the record.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "Database/DatabaseTransducerIdMessage.h"
#include "fuzz/FuzzUnit.h"

namespace {

// Every impedance of the graph's columns lies between these.
void ImpedanceRange(ImpedanceNode_T (*Graph)[4], Impedance_Ohms_T& Low, Impedance_Ohms_T& High)
{
    Low = 0xFFFF;
    High = 0;
    for (size_t f = 0; f < cNumGraphFrequencies; ++f) {
        for (size_t t = 0; t < cNumGraphTemperatures; ++t) {
            Low = std::min(Low, Graph[f][t].m_Impedance);
            High = std::max(High, Graph[f][t].m_Impedance);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzUnit::Prepare();
    setenv("TRANSDUCER_ID_FILE_PREFIX", "DepthXdcr", 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size)
{
    static CDatabaseTransducerIdMessage record(FuzzUnit::Factory());
    constexpr size_t cSize = CDatabaseTransducerIdMessage::cTransducerIdSize;

    const FpgaRegisterValues_T before = record.GetTransducerId();
    FuzzUnit::WriteFile(record.GetDBFilePath(), Data, Size);
    const VeskEventCode_T result = record.readDB();

    // A whole file is taken as it is (a longer one up to its 234th byte); a
    // short one is refused and changes nothing.
    const FpgaRegisterValues_T after = record.GetTransducerId();
    if (Size >= cSize) {
        FuzzUnit::Require(result == SUCCESS, "a whole file was refused");
        FuzzUnit::Require(std::memcmp(after.data(), Data, cSize) == 0, "the record is not the file");
    } else {
        FuzzUnit::Require(result == FAILED_TO_READ_FILE_CONTENTS, "a short file was not reported");
        FuzzUnit::Require(after == before, "a short file changed the record");
    }
    // The graphs are rebuilt as after a selection.
    record.SetTransducerId(&after);

    // A record that passes its checks can be asked for any impedance inside
    // its band without stopping the process, and the answer stays within
    // the graph's own values.
    if (result != SUCCESS || !record.IsValid(true)) {
        return 0;
    }
    const Temperature_DegCx100_T temperature = static_cast<Temperature_DegCx100_T>(Data[0] << 8 | Data[1]);
    for (XdcrElementIndex_T element = 0; element < 2; ++element) {
        if (!record.GetRecord().IsPresent(element)) {
            continue;
        }
        ImpedanceNode_T(*graph)[4] = CDatabaseTransducerIdMessage::GraphOf(element);
        Frequency_100Hz_T start = 0;
        Frequency_100Hz_T end = 0;
        GetFrequencyLimits(graph, &start, &end);
        if (start > end) {
            continue;
        }
        Impedance_Ohms_T low = 0;
        Impedance_Ohms_T high = 0;
        ImpedanceRange(graph, low, high);
        for (Frequency_100Hz_T f : {start, static_cast<Frequency_100Hz_T>(start + (end - start) / 2), end}) {
            const Impedance_Ohms_T z = CalculateImpedance(graph, f, temperature);
            FuzzUnit::Require(z >= low && z <= high, "an impedance outside the graph");
        }
        record.SetElementTemperature(element, temperature);
        record.CalculateAverageImpedance(element, start, end);
    }
    return 0;
}
