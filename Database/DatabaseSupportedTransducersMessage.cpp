#include "Database/DatabaseSupportedTransducersMessage.h"

#include <cstdio>
#include <cstring>
#include <map>

#include "Database/RecordDescription.h"
#include "Database/TransducerCounts.h"
#include "Utilities/VeskAssert.h"

VESK_RECORD_DESCRIPTION(CDatabaseSupportedTransducersMessage)
    .Directory("NONPERSISTED_DATABASE_ROOT")
    .FileName("SupportedTransducers.bin")
    .Message(VESK_NAMED(Message_Id_Sonar4_Supported_Transducers))
    .PacketName("Sonar4SupportedTransducersPacket")
    .MemberName("m_SupportedTransducers")
    .LoadedName("supportedTransducers")
    .FactoryAssertion("m_pFactory && \"Factory not specified\"");

namespace {

// Kept for the process and refilled by every enumeration.
std::map<SpeedTransducerSelection_T, uint32_t> s_TicksPerNauticalMile;

constexpr uint32_t cDefaultTicksPerNauticalMile = 20000;
constexpr int cMaxWriteAttempts = 5;
constexpr DepthTransducerSelection_T cLastDepthSelection = 253;
constexpr SpeedTransducerSelection_T cLastSpeedSelection = 252;

} // namespace

std::string Sonar4TransducerInfo_T::GetName() const
{
    const char* name = reinterpret_cast<const char*>(m_Bytes);
    return std::string(name, strnlen(name, cNameSize));
}

Sonar4TransducerInfo_T Sonar4SupportedTransducersPacket::GetTransducer(size_t Index) const
{
    VESK_ASSERT(Index < cMaxTransducers);
    Sonar4TransducerInfo_T info;
    std::memcpy(info.data(), m_Bytes + cEntriesOffset + Index * sizeof(info), sizeof(info));
    return info;
}

void Sonar4SupportedTransducersPacket::SetTransducer(size_t Index, const Sonar4TransducerInfo_T& Info)
{
    VESK_ASSERT(Index < cMaxTransducers);
    std::memcpy(m_Bytes + cEntriesOffset + Index * sizeof(Info), Info.data(), sizeof(Info));
}

CDatabaseSupportedTransducersMessage::CDatabaseSupportedTransducersMessage(IOSSFactory* pFactory)
    : CDatabaseRecordOf(pFactory, cDescription)
{
}

Sonar4TransducerInfo_T CDatabaseSupportedTransducersMessage::DescribeTransducer(
    const CDatabaseTransducerIdMessage& TransducerId)
{
    using Id = CDatabaseTransducerIdMessage::TransducerId_T;
    const Id& record = TransducerId.GetRecord();
    const uint32_t scale = TransducerId.GetFrequencyScale();
    Sonar4TransducerInfo_T info{};

    // The first word of the name: up to the first zero or blank.
    char name[Sonar4TransducerInfo_T::cNameSize + 1] = {};
    std::memcpy(name, record.m_Bytes + Id::cNameOffset, Id::cNameSize);
    name[std::strcspn(name, " ")] = '\0';
    CDatabaseTransducerIdMessage::StringCopy(reinterpret_cast<char*>(info.data()), name, sizeof(name));

    using Info = Sonar4TransducerInfo_T;
    info.m_Bytes[Info::cSpeedLogOffset] = record.GetTicksPerNauticalMile() != 0 ? 1 : 0;
    for (XdcrElementIndex_T element = 0; element < 2; ++element) {
        uint8_t* const beams = info.m_Bytes + Info::cBeamAnglesOffset[element];
        beams[0] = static_cast<uint8_t>(record.ElementByte(element, Id::cBeamAngle2) * 2);
        beams[1] = static_cast<uint8_t>(record.ElementByte(element, Id::cBeamAngle1) * 2);
        LittleEndian::Write<uint16_t>(info.m_Bytes + Info::cNominalFrequencyOffset[element],
                                      static_cast<uint16_t>(record.NominalFrequency(element) * scale));
        LittleEndian::Write<uint16_t>(info.m_Bytes + Info::cPowerOffset[element],
                                      static_cast<uint16_t>(record.ElementByte(element, Id::cPower) * 20));
    }
    // Centre over width below 5, the same test as IsBroadband's "at most 4".
    info.m_Bytes[Info::cWidebandOffset] = TransducerId.IsBroadband() ? 1 : 0;
    return info;
}

void CDatabaseSupportedTransducersMessage::addTransducer(const Sonar4TransducerInfo_T& Info)
{
    const uint16_t index = m_Packet.GetNumTransducers();
    VESK_ASSERT(index < Sonar4SupportedTransducersPacket::cMaxTransducers &&
                "Too many Legacy Transducers for size of Sonar4 message!");
    m_Packet.SetTransducer(index, Info);
    m_Packet.SetNumTransducers(static_cast<uint16_t>(index + 1));
}

VeskEventCode_T CDatabaseSupportedTransducersMessage::EnumerateTransducers(CDatabaseTransducerIdMessage* TransducerId)
{
    VESK_ASSERT(TransducerId && "TransducerId not specified");
    const FpgaRegisterValues_T saved = TransducerId->GetTransducerId();

    m_Packet.SetNumTransducers(0);
    for (size_t i = 0; i < Sonar4SupportedTransducersPacket::cMaxTransducers; ++i) {
        m_Packet.SetTransducer(i, Sonar4TransducerInfo_T{});
    }
    CTransducerCounts::Restart();
    s_TicksPerNauticalMile.clear();

    // Depth and test transducers are listed alike and counted together.
    const auto listDepthType = [this, TransducerId](int Index) {
        const Sonar4TransducerInfo_T info = DescribeTransducer(*TransducerId);
        addTransducer(info);
        std::printf("Xdcr %d : %s:power = %d\n", Index, info.GetName().c_str(), info.GetPowerA());
    };
    // Each kind's files are numbered from 0; the first missing number ends it.
    for (int index = 0; index <= cLastDepthSelection && TransducerId->SelectDepthTransducerId(index) == SUCCESS;
         ++index) {
        listDepthType(index);
        CTransducerCounts::AddDepth();
    }
    for (int index = 0; index <= cLastSpeedSelection && TransducerId->SelectSpeedTransducerId(index) == SUCCESS;
         ++index) {
        const Sonar4TransducerInfo_T info = DescribeTransducer(*TransducerId);
        addTransducer(info);
        const uint32_t ticks = TransducerId->GetRecord().GetTicksPerNauticalMile();
        s_TicksPerNauticalMile[static_cast<SpeedTransducerSelection_T>(index)] = ticks;
        std::printf("SpeedXdcr %d : %s:TicksPerNM = %d\n", index, info.GetName().c_str(), static_cast<int>(ticks));
        CTransducerCounts::AddSpeed();
    }
    for (int index = 0; index <= cLastDepthSelection && TransducerId->SelectTestTransducerId(index) == SUCCESS;
         ++index) {
        listDepthType(index);
        CTransducerCounts::AddTest();
    }
    std::fflush(stdout);
    TransducerId->SetTransducerId(&saved);

    // Another task may be reading the list at this moment; it lets go soon.
    VeskEventCode_T result = writeDB();
    for (int attempt = 1; result == FILE_ACCESS_DENIED && attempt < cMaxWriteAttempts; ++attempt) {
        result = writeDB();
    }
    if (result != SUCCESS) {
        m_pFactory->SendEvent(cErrorLevel, result, "CDatabaseSupportedTransducersMessage::EnumerateTransducers",
                              "Failed to write SupportedTransducers Database");
        VESK_ASSERT(result == SUCCESS && "SupportedTransducers list has not been written, probably empty on UI");
    }
    return SUCCESS;
}

uint32_t CDatabaseSupportedTransducersMessage::GetTicksPerNauticalMile(SpeedTransducerSelection_T Selection)
{
    const auto found = s_TicksPerNauticalMile.find(Selection);
    if (found != s_TicksPerNauticalMile.end()) {
        return found->second;
    }
    VESK_ASSERT(Selection != cTransducerSelectionAuto && "You cant ask for the tpmn for the Auto Speed Xdcr");
    return Selection == cTransducerSelectionDefault ? cDefaultTicksPerNauticalMile : 0;
}

uint16_t CDatabaseSupportedTransducersMessage::GetNumDepthTransducers()
{
    return CTransducerCounts::Depth();
}

uint16_t CDatabaseSupportedTransducersMessage::GetNumSpeedTransducers()
{
    return CTransducerCounts::Speed();
}

uint16_t CDatabaseSupportedTransducersMessage::GetNumDepthTypeTransducers()
{
    return CTransducerCounts::DepthType();
}
