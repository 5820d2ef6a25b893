#include "Database/DatabaseServiceInfoMessage.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include "Database/RecordDescription.h"
#include "Database/SerialNumberInfo.h"
#include "Utilities/DottedQuad.h"
#include "Utilities/ProductFamily.h"
#include "Utilities/VeskAssert.h"

namespace {

// The fixed group that older releases published on, 224.0.0.1.
constexpr uint32_t cLegacyMulticastGroup = 0xE0000001;
// The group is the unit's address folded into 224.0.0.0/4: the low 23 bits
// moved up by 5, so that every unit of a /9 gets a group of its own.
constexpr uint32_t cGroupAddressMask = 0x007FFFFF;
constexpr unsigned cGroupAddressShift = 5;
constexpr uint32_t cMulticastBase = 0xE0000000;
// A received packet this small cannot hold both ports.
constexpr size_t cShortPacketLimit = 35;

std::string Hex(uint32_t Value)
{
    char text[9];
    std::snprintf(text, sizeof(text), "%x", Value);
    return text;
}

// Port from an override variable; the default when it is not set.
IPPort32_T PortFromEnvironment(IOSSFactory* pFactory, const char* Variable, IPPort32_T Default)
{
    const char* text = pFactory->GetEnv(Variable);
    // 64-bit parse, so that an out-of-range number ends as the same port on
    // every target rather than as ULONG_MAX where long has 32 bits.
    return text ? static_cast<IPPort32_T>(std::strtoull(text, nullptr, 10)) : Default;
}

} // namespace

VESK_FILE_DESCRIPTION(CDatabaseServiceInfoMessage).Directory("DATABASE_DIR_SYSTEM_DATA");

IP_Address_T Sonar4ServiceInfoPacket::AddressAt(size_t Offset) const
{
    return htonl(BigEndian::Read<uint32_t>(m_Bytes + Offset));
}

void Sonar4ServiceInfoPacket::SetAddressAt(size_t Offset, IP_Address_T Address)
{
    BigEndian::Write<uint32_t>(m_Bytes + Offset, ntohl(Address));
}

CDatabaseServiceInfoMessage::CDatabaseServiceInfoMessage(IOSSFactory* pFactory)
    : CDatabaseFile(pFactory, cFileDescription, cFileName)
{
    // Looked up once here; the checks below compare against it.
    GetUnitSerialNumber();
    RefreshOutputIPAddressText();
    LoadOrCreate();
    AdoptCurrentAddress();
}

IOSSNetwork* CDatabaseServiceInfoMessage::OpenSocket()
{
    // A known product may sit on any private net; anything else is only
    // trusted on the "10." net.
    const int choice = GetProductFamily(m_pFactory) != cProductFamilyUnknown ? SYSTEM_ADDRESS_PRIVATE_FIRST
                                                                              : SYSTEM_ADDRESS_TEN_NET;
    return m_pFactory->CreateNetwork(AF_INET, SOCK_DGRAM, IPPROTO_UDP, choice);
}

void CDatabaseServiceInfoMessage::AdoptCurrentAddress()
{
    const std::unique_ptr<IOSSNetwork> network(OpenSocket());
    AUINT32 systemAddress = 0;
    if (network->GetSystemIPAddress(&systemAddress)) {
        const bool legacyGroup = GetOutputIPAddress() == htonl(cLegacyMulticastGroup);
        if (legacyGroup || systemAddress != GetInputIPAddress()) {
            if (!legacyGroup) {
                m_pFactory->SendEvent(cWarningLevel, SUCCESS, cFileDescription.ClassName,
                                      ("OP Address is new style so we are downgrading " + Hex(GetOutputIPAddress()))
                                          .c_str());
            }
            m_pFactory->SendEvent(cErrorLevel, SUCCESS, Where(" ", "constructor").c_str(),
                                  "IP Address is different in the file");
            RewriteWithDefaults(Where(" ", "constructor").c_str());
        }
    }
    CheckSerialNumber();
}

void CDatabaseServiceInfoMessage::CheckSerialNumber()
{
    const uint32_t stored = m_ServiceInfo.GetSerialNumber();
    const uint32_t unit = GetUnitSerialNumber();
    if (stored == unit) {
        return;
    }
    const std::string why = "Serial Number currently in Member Variable is " + std::to_string(stored) +
                            " System Tells us " + std::to_string(unit) + " So rewriting file";
    m_pFactory->SendEvent(cErrorLevel, SUCCESS, Where(" ", "constructor").c_str(), why.c_str());
    RewriteWithDefaults(Where("::", "CheckSerialNumber").c_str());
}

void CDatabaseServiceInfoMessage::RewriteWithDefaults(const char* WhereText)
{
    SetDefaultValues();
    const VeskEventCode_T result = writeDB();
    if (result != SUCCESS) {
        m_pFactory->SendEvent(cErrorLevel, result, WhereText, "failed to write to DB");
        SetLastError(result);
    }
}

void CDatabaseServiceInfoMessage::SetDefaultValues()
{
    // An unset ROOT_DIR is published as an empty root rather than crashing
    // the unit; the deployment always sets it.
    const char* rootDir = m_pFactory->GetEnv("ROOT_DIR");
    if (rootDir == nullptr) {
        rootDir = "";
    }
    const size_t rootLength = std::strlen(rootDir);
    std::memset(m_ServiceInfo.RootDir(), 0, Sonar4ServiceInfoPacket::cRootDirSize);
    std::memcpy(m_ServiceInfo.RootDir(), rootDir, std::min(rootLength, Sonar4ServiceInfoPacket::cRootDirSize));
    // The length counts the whole text even when the field cut it: readers
    // of the packet clamp it to the packet (see CreateMessage).
    const size_t pathlen = rootLength + 1;
    VESK_ASSERT(pathlen <= std::numeric_limits<DBPath_Length_T>::max());
    m_ServiceInfo.SetPathLength(static_cast<DBPath_Length_T>(pathlen));

    m_ServiceInfo.SetSerialNumber(GetUnitSerialNumber());
    m_ServiceInfo.SetKind(cServiceInfoKind);
    m_ServiceInfo.ClearReserved();
    const size_t datalen = pathlen + Sonar4ServiceInfoPacket::cDataLengthBeforePath;
    VESK_ASSERT(datalen <= std::numeric_limits<UINT16>::max());
    m_ServiceInfo.SetDataLength(static_cast<uint16_t>(datalen));

    m_ServiceInfo.SetControlPort(PortFromEnvironment(m_pFactory, "CONTROL_PORT_OVERRIDE", cDefaultControlPort));
    m_ServiceInfo.SetDataPort(PortFromEnvironment(m_pFactory, "DATA_PORT_OVERRIDE", cDefaultDataPort));

    const std::unique_ptr<IOSSNetwork> network(OpenSocket());
    AUINT32 systemAddress = 0;
    if (network->GetSystemIPAddress(&systemAddress)) {
        m_ServiceInfo.SetInputIPAddress(systemAddress);
        const uint32_t host = ntohl(systemAddress);
        const uint32_t masked = host & cGroupAddressMask;
        const uint32_t shifted = masked << cGroupAddressShift;
        const uint32_t multicast = shifted + cMulticastBase;
        SetOutputIPAddress(multicast);
        const std::string why = "HostFormatIpAddress :  " + Hex(host) + " when masked  : " + Hex(masked) +
                                " when shifted by 5  : " + Hex(shifted) + " final multicast  : " + Hex(multicast);
        m_pFactory->SendEvent(cWarningLevel, SUCCESS, Where("::", "SetDefaultValues").c_str(), why.c_str());
    }
    VESK_ASSERT(GetInputIPAddress() != 0);
    VESK_ASSERT(GetOutputIPAddress() != 0);
}

void CDatabaseServiceInfoMessage::SetOutputIPAddress(IP_Address_T HostOrderAddress)
{
    m_ServiceInfo.SetOutputIPAddress(htonl(HostOrderAddress));
    RefreshOutputIPAddressText();
}

void CDatabaseServiceInfoMessage::RefreshOutputIPAddressText()
{
    m_OutputIPAddressText = DottedQuad(ntohl(GetOutputIPAddress()));
}

VeskEventCode_T CDatabaseServiceInfoMessage::writeDB()
{
    return Store([this](IOSSFile& File) {
        return StoreBytes(File, m_ServiceInfo.data(), cPacketSize, "Failed to write contents");
    });
}

VeskEventCode_T CDatabaseServiceInfoMessage::readDB()
{
    // The ports this process has been using; a file that now says otherwise
    // was changed by another process.
    const IPPort32_T rememberedDataPort = GetDataPort();
    const IPPort32_T rememberedControlPort = GetControlPort();

    // Read straight into the packet: a short file leaves the bytes it had
    // in memory, over the rest of the packet as it was. Other units behave
    // so; the short file is removed and the next load recreates it.
    VeskEventCode_T result = SUCCESS;
    Buffer_Bytes_T first(m_ServiceInfo.data(), cPacketSize);
    int firstError;
    const std::unique_ptr<IOSSFile> file = OpenForLoad(result, first, firstError);
    if (!file) {
        return result;
    }
    result = LoadBytes(*file, m_ServiceInfo.data(), cPacketSize, "Failed to read contents", first, firstError);
    if (result != SUCCESS) {
        return result;
    }
    VESK_ASSERT(m_ServiceInfo.GetMessageID() == Sonar4_Service_Info_Message);
    RefreshOutputIPAddressText();

    if (rememberedDataPort != 0 && rememberedDataPort != GetDataPort()) {
        m_PortsChanged = true;
    } else if (rememberedControlPort != 0 && rememberedControlPort != GetControlPort()) {
        m_PortsChanged = true;
    }
    return SUCCESS;
}

VeskEventCode_T CDatabaseServiceInfoMessage::CreateMessage(Buffer_Bytes_T* Buffer)
{
    VESK_ASSERT(Buffer);
    VESK_ASSERT(Buffer->size() >= sizeof(m_ServiceInfo));
    if (const VeskEventCode_T result = readDB()) {
        return result;
    }
    if (m_PortsChanged) {
        return OSS_NETWORK_FAILURE;
    }
    std::memcpy(Buffer->ptr(), m_ServiceInfo.data(), cPacketSize);
    // A path length field beyond the root directory field (a corrupt file,
    // or a root directory longer than the field) sends the whole packet and
    // never more.
    const size_t sent = Sonar4ServiceInfoPacket::cSentHeaderSize + m_ServiceInfo.GetPathLength();
    Buffer->size(std::min(sent, cPacketSize));
    return SUCCESS;
}

VeskEventCode_T CDatabaseServiceInfoMessage::DecodeMessage(const Buffer_Bytes_T* Buffer)
{
    VESK_ASSERT(Buffer);
    // A packet from the network may be shorter than the fields it should
    // hold: it is examined as a zero-padded copy, so missing fields read as
    // 0 and nothing past its end is touched.
    Sonar4ServiceInfoPacket external{};
    if (Buffer->size() != 0) {
        // An empty buffer may have no memory at all.
        std::memcpy(external.data(), Buffer->ptr(), std::min(Buffer->size(), cPacketSize));
    }
    const Sonar4ServiceInfoPacket* pExternalServiceInfoPacket = &external;

    if (pExternalServiceInfoPacket->GetKind() != cServiceInfoKind) {
        return SUCCESS;
    }
    const uint32_t neighbourSerial = pExternalServiceInfoPacket->GetSerialNumber();
    if (neighbourSerial == GetUnitSerialNumber() || m_PortsChanged) {
        return SUCCESS;
    }
    if (Buffer->size() <= cShortPacketLimit) {
        // Worth a warning, but whatever ports it does carry still count.
        const std::string why = "Service info message buffer too small: " + std::to_string(Buffer->size()) +
                                " bytes, serial: " + CSerialNumberInfo::DisplayForm(neighbourSerial);
        m_pFactory->SendEvent(cErrorLevel, E2BIG, Where("::", "DecodeMessage").c_str(), why.c_str());
    } else {
        VESK_ASSERT(pExternalServiceInfoPacket->GetMessageID() == Sonar4_Service_Info_Message);
    }
    if (const VeskEventCode_T result = readDB()) {
        return result;
    }

    const IPPort32_T theirControl = pExternalServiceInfoPacket->GetControlPort();
    const IPPort32_T theirData = pExternalServiceInfoPacket->GetDataPort();
    MarkPortUsed(theirControl);
    MarkPortUsed(theirData);

    const IPPort32_T ourControl = GetControlPort();
    const IPPort32_T ourData = GetDataPort();
    const bool clash = theirControl == ourControl || theirControl == ourData || theirData == ourControl ||
                       theirData == ourData;
    // Of two clashing units only the one with the smaller serial number moves.
    if (!clash || neighbourSerial <= GetUnitSerialNumber()) {
        return SUCCESS;
    }

    m_ServiceInfo.SetControlPort(FindFreePortAfter(ourControl));
    m_ServiceInfo.SetDataPort(FindFreePortAfter(ourData));
    const VeskEventCode_T result = writeDB();
    const std::string why = "Port numbers clashed with another sounder, switching to " +
                            std::to_string(GetControlPort()) + " for control and " + std::to_string(GetDataPort()) +
                            " for data.";
    m_pFactory->SendEvent(cInfoLevel, result, Where("::", "DecodeMessage").c_str(), why.c_str());
    return result;
}

IPPort32_T CDatabaseServiceInfoMessage::FindFreePortAfter(IPPort32_T Port)
{
    Port = std::max<IPPort32_T>(Port + 1, cMinimumValidPort);
    VESK_ASSERT(Port <= cMaximumValidPort);
    while (IsPortUsed(Port)) {
        ++Port;
        VESK_ASSERT(Port <= cMaximumValidPort);
    }
    MarkPortUsed(Port);
    return Port;
}

bool CDatabaseServiceInfoMessage::IsPortUsed(IPPort32_T Port) const
{
    return (m_UsedPorts >> (Port - cMinimumValidPort)) & 1u;
}

void CDatabaseServiceInfoMessage::MarkPortUsed(IPPort32_T Port)
{
    // Ports outside the range (an override such as 4000) are never tracked.
    if (Port >= cMinimumValidPort && Port <= cMaximumValidPort) {
        m_UsedPorts |= 1u << (Port - cMinimumValidPort);
    }
}
