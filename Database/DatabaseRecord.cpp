#include "Database/DatabaseRecord.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "Database/SerialNumberInfo.h"
#include "Utilities/VeskAssert.h"

namespace {

std::string IdAssertion(const char* Subject, const DatabaseRecordNames_T& Names)
{
    return std::string(Subject) + ".GetMessageID() == " + Names.MessageId;
}

// The file name with "%u" replaced by the instance number.
std::string FileNameOf(const char* Pattern, uint32_t Instance)
{
    std::string name = Pattern;
    const size_t marker = name.find("%u");
    if (marker != std::string::npos) {
        name.replace(marker, 2, std::to_string(Instance));
    }
    return name;
}

} // namespace

CDatabaseRecord::CDatabaseRecord(IOSSFactory* pFactory, const DatabaseRecordDescription_T& Description,
                                 uint8_t* Packet, uint8_t* Loaded, size_t PacketSize, uint32_t Instance)
    : CDatabaseFile(pFactory, Description.File, FileNameOf(Description.FileName, Instance)),
      m_Description(Description),
      m_pPacket(Packet),
      m_pLoaded(Loaded),
      m_PacketSize(PacketSize),
      m_Instance(Instance)
{
    InitialisePacket(m_pPacket);
    if (IsAddressed()) {
        GetUnitSerialNumber();
    }
    // readDB, writeDB and SetDefaults are this class's own overrides, so they
    // are complete here; the packet storage was built before this base.
    LoadOrCreate();
}

void CDatabaseRecord::InitialisePacket(uint8_t* Packet) const
{
    std::memset(Packet, 0, m_PacketSize);
    LittleEndian::Write<uint32_t>(Packet + cSonar4IdOffset, m_Description.MessageId);
    LittleEndian::Write<uint32_t>(Packet + cSonar4VersionOffset, SONAR4_VERSION);
}

void CDatabaseRecord::SetDefaults()
{
    InitialisePacket(m_pPacket);
    LittleEndian::Write<uint32_t>(m_pPacket + cSonar4SizeOffset, static_cast<uint32_t>(m_PacketSize));
    if (IsAddressed()) {
        LittleEndian::Write<uint32_t>(m_pPacket + cSonar4SerialOffset, GetUnitSerialNumber());
    }
    VESK_ASSERT(cSonar4HeaderSize + m_Description.DefaultPayloadSize <= m_PacketSize);
    if (m_Description.DefaultPayloadSize != 0) {
        std::memcpy(m_pPacket + cSonar4HeaderSize, m_Description.DefaultPayload, m_Description.DefaultPayloadSize);
    }
    if (m_Description.SetComputedDefaults) {
        m_Description.SetComputedDefaults(m_pFactory, m_pPacket, m_Instance);
    }
}

void CDatabaseRecord::ResetForMissingFile()
{
    if (m_Description.MissingFileResetBytes == SIZE_MAX) {
        SetDefaults();
        return;
    }
    VESK_ASSERT(cSonar4HeaderSize + m_Description.MissingFileResetBytes <= m_PacketSize);
    LittleEndian::Write<uint32_t>(m_pPacket + cSonar4SizeOffset, static_cast<uint32_t>(m_PacketSize));
    std::memset(m_pPacket + cSonar4HeaderSize, 0, m_Description.MissingFileResetBytes);
    if (IsAddressed()) {
        LittleEndian::Write<uint32_t>(m_pPacket + cSonar4SerialOffset, GetUnitSerialNumber());
    }
}

void CDatabaseRecord::ReplaceInvalidValues(const char* Operation)
{
    if (m_Description.ReplaceInvalidValues && m_Description.ReplaceInvalidValues(m_pPacket)) {
        m_pFactory->SendEvent(cInfoLevel, SUCCESS, Where("::", Operation).c_str(),
                              "Invalid data Values being replaced");
    }
}

VeskEventCode_T CDatabaseRecord::writeDB()
{
    return Store([this](IOSSFile& File) {
        // Replaced values are put right in memory, so a second attempt (the
        // file made meanwhile by another process) has nothing left to report.
        ReplaceInvalidValues("writeDB()");
        const Sonar4HeaderView header{m_pPacket};
        VESK_ASSERT_TEXT(header.GetMessageID() == m_Description.MessageId,
                         IdAssertion(m_Description.Names.Member, m_Description.Names).c_str());
        LittleEndian::Write<uint32_t>(m_pPacket + cSonar4SizeOffset, static_cast<uint32_t>(m_PacketSize));
        return StoreBytes(File, m_pPacket, m_PacketSize, m_Description.WriteFailedWhy,
                          m_Description.WriteFailedOperation);
    });
}

VeskEventCode_T CDatabaseRecord::readDB()
{
    // Loaded aside: a rejected or short file leaves the packet as it was.
    uint8_t* const loaded = m_pLoaded;
    InitialisePacket(loaded);
    VeskEventCode_T result;
    Buffer_Bytes_T first(loaded, m_PacketSize);
    int firstError;
    const std::unique_ptr<IOSSFile> file = OpenForLoad(result, first, firstError);
    if (!file) {
        return result;
    }
    if (const VeskEventCode_T failed =
            LoadBytes(*file, loaded, m_PacketSize, m_Description.ReadFailedWhy, first, firstError)) {
        return failed;
    }

    const Sonar4HeaderView header{loaded};
    VESK_ASSERT_TEXT(header.GetMessageID() == m_Description.MessageId,
                     IdAssertion(m_Description.Names.Loaded, m_Description.Names).c_str());
    VESK_ASSERT_TEXT(header.GetMessageSize() == m_PacketSize,
                     (std::string(m_Description.Names.Loaded) + ".GetMessageSize() == sizeof(" +
                      m_Description.Names.Packet + ")")
                         .c_str());
    if (ConfirmSonar4Version(loaded)) {
        std::memcpy(m_pPacket, loaded, m_PacketSize);
        ReplaceInvalidValues("readDB()");
    }
    return SUCCESS;
}

bool CDatabaseRecord::ConfirmSonar4Version(const uint8_t* Packet)
{
    const Sonar4HeaderView header{Packet};
    const char* const operation = "ConfirmSonar4Version";
    bool accepted = true;
    if (header.GetSonar4Version() != SONAR4_VERSION) {
        const std::string why = "Old Sonar 4 found V" + std::to_string(header.GetSonar4Version()) + " expected V" +
                                std::to_string(SONAR4_VERSION);
        m_pFactory->SendEvent(cErrorLevel, SUCCESS, Where("::", operation).c_str(), why.c_str());
        RemoveFile();
        accepted = false;
    }
    // Checked even after a version mismatch: both faults are worth a report.
    if (IsAddressed()) {
        const uint32_t unit = GetUnitSerialNumber();
        if (header.GetSerialNumber() != unit) {
            const std::string why = "Serial Number Mismatch found" +
                                    CSerialNumberInfo::DisplayForm(header.GetSerialNumber()) + " expected " +
                                    CSerialNumberInfo::DisplayForm(unit);
            m_pFactory->SendEvent(cErrorLevel, SUCCESS, Where("::", operation).c_str(), why.c_str());
            RemoveFile();
            return false;
        }
    }
    return accepted;
}

VeskEventCode_T CDatabaseRecord::DecodeMessage(const Buffer_Bytes_T* Buffer)
{
    VESK_ASSERT(Buffer);
    if (Buffer->size() < m_PacketSize) {
        return E2BIG;
    }
    const Sonar4HeaderView header{Buffer->ptr()};
    VESK_ASSERT_TEXT(header.GetMessageID() == m_Description.MessageId,
                     (std::string("p") + m_Description.Names.Packet + "->GetMessageID() == " +
                      m_Description.Names.MessageId)
                         .c_str());

    const bool versionMatches = header.GetSonar4Version() == SONAR4_VERSION;
    std::string why = "Error in incoming message ";
    bool accepted = versionMatches;
    if (IsAddressed()) {
        const uint32_t unit = GetUnitSerialNumber();
        accepted = accepted && header.GetSerialNumber() == unit;
        why += "exp SN " + CSerialNumberInfo::DisplayForm(unit) + " got  " +
               CSerialNumberInfo::DisplayForm(header.GetSerialNumber());
    }
    if (accepted) {
        std::memcpy(m_pPacket, Buffer->ptr(), m_PacketSize);
        const VeskEventCode_T stored = writeDB();
        PacketAccepted();
        return stored;
    }
    why += "exp S4V " + std::to_string(SONAR4_VERSION) + " got  " + std::to_string(header.GetSonar4Version());
    m_pFactory->SendEvent(cErrorLevel, SUCCESS, Where("::", "DecodeMessage").c_str(), why.c_str());
    return E2BIG;
}

VeskEventCode_T CDatabaseRecord::CreateMessage(Buffer_Bytes_T* Buffer)
{
    const DatabaseRecordDescription_T& texts = m_Description;
    VESK_ASSERT_TEXT(Buffer, texts.NullBufferAssertion ? texts.NullBufferAssertion : "Buffer");
    if (texts.EmptyBufferAssertion) {
        VESK_ASSERT_TEXT(Buffer->size() != 0, texts.EmptyBufferAssertion);
    }
    VESK_ASSERT_TEXT(Buffer->size() >= m_PacketSize,
                     texts.SmallBufferAssertion
                         ? texts.SmallBufferAssertion
                         : (std::string("Buffer->size() >= sizeof(") + texts.Names.Member + ")").c_str());
    if (const VeskEventCode_T result = readDB()) {
        return result;
    }
    std::memcpy(Buffer->ptr(), m_pPacket, m_PacketSize);
    Buffer->size(m_PacketSize);
    return SUCCESS;
}
