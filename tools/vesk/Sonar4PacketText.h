#ifndef TOOLS_VESK_SONAR4PACKETTEXT_H
#define TOOLS_VESK_SONAR4PACKETTEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct Sonar4MessageRow_T;

// A packet read field by field as the message table lays it out, for
// people: what it is, what is wrong with it, and every field's value.
// Nothing here trusts the packet: a short buffer, a wrong size field, an
// unknown id or another version are flagged, never read past.
struct Sonar4DecodedField_T {
    std::string Name;
    std::string Unit;
    // As a person reads it, and as a JSON value.
    std::string Text;
    std::string Json;
};

struct Sonar4PacketReport_T {
    // Null when the id is none of the codec's.
    const Sonar4MessageRow_T* pRow = nullptr;
    uint32_t Id = 0;
    size_t Size = 0;
    std::string Name;
    // What makes the packet one its record would not take as it is.
    std::vector<std::string> Flags;
    std::vector<Sonar4DecodedField_T> Fields;
};

class CSonar4PacketText {
public:
    CSonar4PacketText() = delete;

    static Sonar4PacketReport_T Decode(const uint8_t* Bytes, size_t Size);
    // One line: name, id, size, flags, then "field=value unit" pairs.
    static std::string Text(const Sonar4PacketReport_T& Report);
    // One JSON object on one line.
    static std::string Json(const Sonar4PacketReport_T& Report);
    // The message's name in the system's words: its id enumerator without
    // prefix and suffix, e.g. "MasterBottomRecord".
    static std::string MessageName(const Sonar4MessageRow_T& Row);
    // The record's file name without ".bin" ("%u" kept), "" when it has none.
    static std::string FileStem(const Sonar4MessageRow_T& Row);
};

#endif
