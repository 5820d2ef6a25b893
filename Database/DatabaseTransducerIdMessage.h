#ifndef DATABASE_DATABASETRANSDUCERIDMESSAGE_H
#define DATABASE_DATABASETRANSDUCERIDMESSAGE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Database/DatabaseFile.h"
#include "Database/ImpedanceGraph.h"
#include "Sonar4/Sonar4Packet.h"
#include "Utilities/ProductFamily.h"

using FpgaRegisterValues_T = std::vector<uint8_t>;
// 0 and up: index of a supported transducer file; the top values are reserved.
using DepthTransducerSelection_T = uint8_t;
using SpeedTransducerSelection_T = uint8_t;
using XdcrElementIndex_T = uint8_t;        // 0 element A, 1 element B

constexpr uint8_t cTransducerSelectionDefault = 253;    // speed only
constexpr uint8_t cTransducerSelectionAuto = 254;
constexpr uint8_t cTransducerSelectionNone = 255;

// The 234 bytes of a transducer's identification memory (XID), as the FPGA
// delivers them, kept raw in "TransducerId.bin"; the selection that put them
// there; and the two impedance graphs derived from them, rebuilt after every
// change of the bytes.
//
// Transducers without an identification memory (legacy ones) are chosen by
// copying a prepared file of the same 234 bytes from SUPPORTED_TRANSDUCER_DIR
// over the record file.
class CDatabaseTransducerIdMessage : public CDatabaseFile {
public:
    static constexpr size_t cTransducerIdSize = 234;

    struct TransducerId_T : PacketBytes<cTransducerIdSize> {
        // The transducer's text name starts the identification data; its
        // first word names it in lists.
        static constexpr size_t cNameOffset = 0;
        static constexpr size_t cNameSize = 25;
        static constexpr size_t cFlagsOffset = 38;
        static constexpr size_t cTicksPerNmOffset = 43;
        static constexpr size_t cElementBlockOffset[2] = {45, 68};
        static constexpr size_t cElementBlockSize = 23;
        static constexpr size_t cTemperatureTableOffset = 114;
        static constexpr size_t cTemperatureTableSize = 9;
        // The 0, 40 and 60 degree curves of each element; 20 degrees is in the block.
        static constexpr size_t cOtherCurvesOffset[2] = {123, 159};
        static constexpr size_t cCurveSize = 12;
        // Within an element block.
        static constexpr size_t cNominalFrequency = 0;
        static constexpr size_t cCurve20 = 1;
        static constexpr size_t cPower = 16;
        static constexpr size_t cBeamAngle1 = 17;
        static constexpr size_t cBeamAngle2 = 18;

        uint8_t ElementByte(XdcrElementIndex_T Element, size_t Offset) const
        {
            return m_Bytes[cElementBlockOffset[Element] + Offset];
        }
        uint8_t NominalFrequency(XdcrElementIndex_T Element) const { return ElementByte(Element, cNominalFrequency); }
        uint8_t LowerFrequency(XdcrElementIndex_T Element) const { return ElementByte(Element, cCurve20); }
        uint8_t UpperFrequency(XdcrElementIndex_T Element) const { return ElementByte(Element, cCurve20 + 10); }
        // Present unless its nominal and both -3 dB frequencies are zero.
        bool IsPresent(XdcrElementIndex_T Element) const
        {
            return NominalFrequency(Element) != 0 || LowerFrequency(Element) != 0 || UpperFrequency(Element) != 0;
        }
        // Speed log ticks per nautical mile; 0 for a transducer without a log.
        // The memory holds hundreds, most significant byte first.
        uint32_t GetTicksPerNauticalMile() const
        {
            return (uint32_t{m_Bytes[cTicksPerNmOffset]} << 8 | m_Bytes[cTicksPerNmOffset + 1]) * 100u;
        }
        // The first node (frequency byte, impedance byte) of a curve:
        // Temperature 0..3 for 0, 20, 40 and 60 degrees.
        const uint8_t* Curve(XdcrElementIndex_T Element, size_t Temperature) const;
    };

    explicit CDatabaseTransducerIdMessage(IOSSFactory* pFactory);

    VeskEventCode_T readDB() override;
    VeskEventCode_T writeDB() override;

    // Bytes read from the identification memory; 234 of them.
    void SetTransducerId(const FpgaRegisterValues_T* XIDBytes);
    // A transducer whose element B has a memory of its own: merged when the
    // second holds 234 bytes, else the first is taken alone.
    void SetTransducerId(const FpgaRegisterValues_T* XIDBytes1, const FpgaRegisterValues_T* XIDBytes2);
    // Element A of the second memory becomes element B of the record.
    void MergeXids(const FpgaRegisterValues_T* XIDBytes1, const FpgaRegisterValues_T* XIDBytes2);
    // A copy of the record's bytes.
    FpgaRegisterValues_T GetTransducerId() const;
    const TransducerId_T& GetRecord() const { return m_TransducerId; }

    // The user's choice of a transducer without identification memory.
    // Auto (and for speed also Default and none) are programming errors:
    // those come from SetTransducerId.
    VeskEventCode_T SelectDepthTransducerId(DepthTransducerSelection_T Selection);
    VeskEventCode_T SelectTestTransducerId(DepthTransducerSelection_T Selection);
    VeskEventCode_T SelectSpeedTransducerId(SpeedTransducerSelection_T Selection);
    // Replaces the record file by SUPPORTED_TRANSDUCER_DIR/<Prefix><Index>.bin
    // and loads it. OSS_FILE_FAILURE when there is no such file.
    VeskEventCode_T SelectTransducerFile(const std::string& Prefix, size_t Index);
    // -2 automatic, -1 none, 0 and up a supported transducer.
    int8_t GetSelectedTransducer() const { return m_SelectedTransducer; }

    // Plausibility of the record; every failed check is reported.
    bool IsValid(bool checkTemperatureChannels);
    // Index of the temperature table entry of the element; 3 when none.
    size_t TemperatureChannel(XdcrElementIndex_T Element) const;

    void SetElementTemperature(XdcrElementIndex_T Element, Temperature_DegCx100_T Temperature);
    uint32_t GetFrequencyScale() const { return m_FrequencyScale; }

    // The band of one element (0xFFFF both for an element that is neither A
    // nor B); reversed limits are fatal.
    void GetFrequencyLimits(XdcrElementIndex_T Element, Frequency_100Hz_T* FreqStart,
                            Frequency_100Hz_T* FreqEnd) const;
    // True when element A's quality factor (centre over width) is 4 or less.
    bool IsBroadband() const;
    // Mean impedance of an element over Start..End at its current temperature.
    Impedance_Ohms_T CalculateAverageImpedance(XdcrElementIndex_T Element, Frequency_100Hz_T Start,
                                               Frequency_100Hz_T End) const;

    static char* StringCopy(char* Dest, const char* Source, size_t Size);

    // The process's two graphs, rewritten by whichever object last changed
    // its record.
    static ImpedanceNode_T (*GraphOf(XdcrElementIndex_T Element))[4];

protected:
    void SetDefaults() override;

private:
    void RebuildGraphs();
    void FillGraph(XdcrElementIndex_T Element);
    void BuildGraphs();
    void CopyRecord(const FpgaRegisterValues_T& Bytes);
    bool IsElementValid(XdcrElementIndex_T Element, bool checkTemperatureChannels);
    void Invalid(const std::string& Why);

    TransducerId_T m_TransducerId{};
    int8_t m_SelectedTransducer = -1;
    Temperature_DegCx100_T m_ElementTemperature[2] = {2000, 2000};
    ProductFamily_T m_ProductFamily;
    uint32_t m_FrequencyScale;
    std::string m_SupportedTransducerFileName;
    std::string m_SpeedTransducerFileName;
};

#endif
