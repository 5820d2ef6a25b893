// Ping data of any size and content cut into segments, as the ping tasks
// hand their samples over. Input: tag, data type, configuration index, then
// the ping's samples.
//
// More than 255 whole segments in one run is a programming error of the
// caller (a fatal assertion), so the harness passes the bytes beyond that
// over.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "Database/DatabasePingData.h"
#include "fuzz/FuzzUnit.h"

namespace {

constexpr size_t cData = Sonar4PingDataPacket::cMaxSegmentData;
constexpr size_t cHeader = Sonar4PingDataPacket::cSegmentHeaderSize;
constexpr size_t cMaxPingData = 255 * cData;

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzUnit::Prepare();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size)
{
    static CDatabasePingData pingData(FuzzUnit::Factory());
    if (Size < 3) {
        return 0;
    }
    const UINT8 tag = Data[0];
    const PingDataType_T type = static_cast<PingDataType_T>(Data[1]);
    const PingConfigIndex_T index = static_cast<PingConfigIndex_T>(Data[2] % PingConfigIndex_end);
    // A copy of exactly the ping's size, so that reading past it is caught.
    std::vector<uint8_t> samples(Data + 3, Data + 3 + std::min(Size - 3, cMaxPingData));
    Buffer_Bytes_T view(samples.data(), samples.size());
    pingData.SetPingData(&view, tag, type, index);

    // The segments, in order, carry the samples once each: numbered from 0,
    // each at the offset where the last one ended, full but for the last.
    const size_t expected = (samples.size() + cData - 1) / cData;
    std::vector<uint8_t> joined;
    std::vector<uint8_t> output(sizeof(Sonar4PingDataPacket));
    for (size_t number = 0;; ++number) {
        Buffer_Bytes_T buffer(output.data(), output.size());
        FuzzUnit::Require(pingData.CreateMessage(&buffer) == SUCCESS, "a segment could not be made");
        if (buffer.size() == 0) {
            FuzzUnit::Require(number == expected, "the run ended early or late");
            break;
        }
        Sonar4PingDataPacket segment{};
        std::memcpy(segment.data(), output.data(), buffer.size());
        const size_t n = buffer.size() - cHeader;
        FuzzUnit::Require(buffer.size() > cHeader && n <= cData, "a segment of impossible size");
        FuzzUnit::Require(n == cData || number + 1 == expected, "a short segment before the last");
        FuzzUnit::Require(segment.GetMessageSize() == buffer.size(), "the size field is not the segment's");
        FuzzUnit::Require(segment.GetSegmentNumber() == static_cast<PacketSegmentNumber_T>(number),
                          "segments out of order");
        FuzzUnit::Require(segment.GetSegmentCount() == static_cast<PacketSegmentNumber_T>(expected),
                          "the count is not the run's");
        FuzzUnit::Require(segment.GetSegmentOffset() == joined.size(), "a gap or an overlap between segments");
        FuzzUnit::Require(segment.GetPingDataSize() == samples.size() && segment.GetTag() == tag &&
                              segment.GetPingDataType() == type && segment.GetPingConfigIndex() == index,
                          "the run's header changed");
        joined.insert(joined.end(), output.begin() + cHeader, output.begin() + static_cast<long>(buffer.size()));
    }
    FuzzUnit::Require(joined == samples, "the segments are not the samples");
    return 0;
}
