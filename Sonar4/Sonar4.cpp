#include "Sonar4/Sonar4.h"

#include "Sonar4/Sonar4EnvironmentLimitsMessage.h"
#include "Sonar4/Sonar4ErrorStatusMessage.h"
#include "Sonar4/Sonar4MasterBottomRecordMessage.h"
#include "Sonar4/Sonar4PingResultsMessage.h"
#include "Sonar4/Sonar4ServiceInfoMessage.h"
#include "Sonar4/Sonar4SystemLimitsMessage.h"
#include "Sonar4/Sonar4SystemSettingsMessage.h"
#include "Utilities/LittleEndian.h"
#include "Utilities/VeskAssert.h"

CSonar4::CSonar4(IOSSFactory* pFactory) : m_pFactory(pFactory)
{
    VESK_ASSERT(pFactory && "Factory not specified");

    // The order matters: messages sharing an id are found in insertion
    // order, and each constructor loads or creates its record file.
    AddMessage(Message_Id_Sonar4_System_Settings, new CSonar4SystemSettingsMessage(m_pFactory));
    AddMessage(Message_Id_Sonar4_Ping_Results, new CSonar4PingResultsMessage(m_pFactory));
    // Here: the 32 ping parameters messages, configuration 0 to 31, then
    // heartbeat, ping data, system status data and environment data.
    AddMessage(Message_Id_Sonar4_Environment_Limits, new CSonar4EnvironmentLimitsMessage(m_pFactory));
    AddMessage(Message_Id_Sonar4_System_Settings_Limits, new CSonar4SystemLimitsMessage(m_pFactory));
    AddMessage(Message_Id_Sonar4_Master_Bottom_Record, new CSonar4MasterBottomRecordMessage(m_pFactory));
    // Here: supported transducers, transducers fitted and command.
    AddMessage(Message_Id_Sonar4_Error_Status, new CSonar4ErrorStatusMessage(m_pFactory));
    m_ServiceInfo = new CSonar4ServiceInfoMessage(m_pFactory);
    AddMessage(Sonar4_Service_Info_Message, m_ServiceInfo);
    // Here: unit info, built with m_ServiceInfo->GetUnitInfoIPAddress(),
    // then recording status.
}

CSonar4::~CSonar4()
{
    for (auto& entry : m_Messages) {
        delete entry.second;
    }
    m_Messages.clear();
    m_ReceivedCount.clear();
    m_ConstructedCount.clear();
    m_ServiceInfo = nullptr;
}

void CSonar4::AddMessage(LNET_MESSAGE_ID_T Id, ISonar4Message* pMessage)
{
    // A multimap inserts an equal key after the ones already there.
    m_Messages.insert({Id, pMessage});
}

ISonar4Message* CSonar4::FindMessage(LNET_MESSAGE_ID_T Id) const
{
    const auto found = m_Messages.find(Id);
    return found != m_Messages.end() ? found->second : nullptr;
}

uint32_t CSonar4::CountOf(const CountMap_T& Counts, LNET_MESSAGE_ID_T Id)
{
    const auto found = Counts.find(Id);
    return found != Counts.end() ? found->second : 0;
}

LNET_MESSAGE_ID_T CSonar4::GetMessageID(const Buffer_Bytes_T* Buffer) const
{
    VESK_ASSERT(Buffer);
    VESK_ASSERT(Buffer->size() >= sizeof(LNET_MESSAGE_ID_T));
    return LittleEndian::Read<LNET_MESSAGE_ID_T>(Buffer->ptr());
}

size_t CSonar4::GetMessageSize(const Buffer_Bytes_T* Buffer) const
{
    VESK_ASSERT(Buffer);
    VESK_ASSERT(Buffer->size() >= sizeof(LNET_MESSAGE_ID_T) + sizeof(MessageSize_Bytes_T));
    return LittleEndian::Read<MessageSize_Bytes_T>(Buffer->ptr() + sizeof(LNET_MESSAGE_ID_T));
}

PingConfigIndex_T CSonar4::GetPingConfigIndex(const Buffer_Bytes_T* Buffer) const
{
    VESK_ASSERT(Buffer);
    if (Buffer->size() <= cPingConfigIndexOffset) {
        return 0;
    }
    return Buffer->ptr()[cPingConfigIndexOffset];
}

VeskEventCode_T CSonar4::ConstructMessage(LNET_MESSAGE_ID_T Id, Buffer_Bytes_T* Buffer, PingConfigIndex_T Index)
{
    VESK_ASSERT(Buffer);
    VeskEventCode_T result;
    if (Id == Message_Id_Sonar4_Ping_Parameters) {
        result = ConstructPingParameters(Buffer, Index);
    } else {
        ISonar4Message* const pMessage = FindMessage(Id);
        if (pMessage == nullptr) {
            return FAILED_TO_SEND_ALL_DATA;
        }
        result = pMessage->CreateMessage(Buffer);
    }
    if (result != SUCCESS) {
        return result;
    }
    ++m_ConstructedCount[Id];
    return SUCCESS;
}

VeskEventCode_T CSonar4::ConstructPingParameters(Buffer_Bytes_T*, PingConfigIndex_T)
{
    // The walk over the configurations (refresh each in index order, build
    // from the first refreshed one whose index matches, else keep the last
    // refresh's result) goes here once the ping parameters messages exist.
    // Until then there is no entry to walk.
    VESK_ASSERT(m_Messages.count(Message_Id_Sonar4_Ping_Parameters) == 0);
    return FAILED_TO_SEND_ALL_DATA;
}

VeskEventCode_T CSonar4::DecodePingParameters(const Buffer_Bytes_T*)
{
    // The search for the message whose configuration index is the packet's
    // (GetPingConfigIndex) goes here once the ping parameters messages
    // exist; until then no configuration is known.
    VESK_ASSERT(m_Messages.count(Message_Id_Sonar4_Ping_Parameters) == 0);
    return FAILED_TO_FIND_PING;
}

VeskEventCode_T CSonar4::DecodeMessage(const Buffer_Bytes_T* Buffer, LNET_MESSAGE_ID_T* pMessageId)
{
    VESK_ASSERT(Buffer);
    const LNET_MESSAGE_ID_T id = GetMessageID(Buffer);
    if (pMessageId != nullptr) {
        *pMessageId = id;
    }

    VeskEventCode_T result = SUCCESS;
    switch (id) {
    case Message_Id_Sonar4_Ping_Parameters:
        result = DecodePingParameters(Buffer);
        break;
    case Message_Id_Sonar4_System_Settings:
        // Settings refer to the supported transducers' counter: the
        // supported transducers record reloads its file first, once that
        // message exists.
    case Sonar4_Service_Info_Message:
    case Message_Id_Sonar4_Heartbeat:
    case Message_Id_Sonar4_Command:
        if (ISonar4Message* const pMessage = FindMessage(id)) {
            result = pMessage->DecodeMessage(Buffer);
        }
        break;
    default:
        // Everything else (unit info, ping data, unknown ids) is the
        // caller's to handle; it is only counted here.
        break;
    }
    if (result != SUCCESS) {
        ++m_DecodeErrorCount;
        return result;
    }
    ++m_ReceivedCount[id];
    return SUCCESS;
}
