#include "Sonar4/Sonar4.h"

#include "Sonar4/Sonar4PingData.h"
#include "Sonar4/Sonar4ServiceInfoMessage.h"
#include "Utilities/LittleEndian.h"
#include "Utilities/VeskAssert.h"

CSonar4::CSonar4(IOSSFactory* pFactory) : m_pFactory(pFactory)
{
    VESK_ASSERT(pFactory && "Factory not specified");
    // The order matters: messages sharing an id are found in insertion
    // order, and each constructor loads or creates its record file.
    MakeSonar4Messages(m_pFactory, m_Messages);
    m_PingData = dynamic_cast<CSonar4PingData*>(FindMessage(Message_Id_Sonar4_Ping_Data));
    m_ServiceInfo = dynamic_cast<CSonar4ServiceInfoMessage*>(FindMessage(Sonar4_Service_Info_Message));
    VESK_ASSERT(m_PingData && m_ServiceInfo);
}

CSonar4::~CSonar4()
{
    DeleteSonar4Messages(m_Messages);
    m_ReceivedCount.clear();
    m_ConstructedCount.clear();
    m_PingData = nullptr;
    m_ServiceInfo = nullptr;
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
    if (Buffer->capacity() <= cPingConfigIndexOffset) {
        return 0;
    }
    return Buffer->ptr()[cPingConfigIndexOffset];
}

VeskEventCode_T CSonar4::ConstructMessage(LNET_MESSAGE_ID_T Id, Buffer_Bytes_T* Buffer, PingConfigIndex_T Index)
{
    VESK_ASSERT(Buffer);
    const Sonar4MessageRow_T* const row = FindSonar4MessageRow(Id);
    VeskEventCode_T result;
    if (row != nullptr && row->ConfigIndex != nullptr) {
        result = ConstructByConfigIndex(*row, Buffer, Index);
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

VeskEventCode_T CSonar4::PingDataTok(Buffer_Bytes_T* OutputBuffer, const Buffer_Bytes_T* PingData, UINT8 Tag,
                                     PingDataType_T Type, PingConfigIndex_T Index)
{
    VESK_ASSERT(OutputBuffer);
    VESK_ASSERT(PingData);
    VESK_ASSERT(m_PingData);
    if (PingData->size() != 0) {
        m_PingData->SetPingData(PingData, Tag, Type, Index);
    }
    ISonar4Message* const pMessage = FindMessage(Message_Id_Sonar4_Ping_Data);
    if (pMessage == nullptr) {
        return FAILED_TO_SEND_ALL_DATA;
    }
    if (const VeskEventCode_T result = pMessage->CreateMessage(OutputBuffer)) {
        return result;
    }
    // The empty end-of-run call counts too.
    ++m_ConstructedCount[Message_Id_Sonar4_Ping_Data];
    return SUCCESS;
}

VeskEventCode_T CSonar4::ConstructByConfigIndex(const Sonar4MessageRow_T& Row, Buffer_Bytes_T* Buffer,
                                                PingConfigIndex_T Index)
{
    // Every configuration up to the one asked for is refreshed on the way.
    // Without a match the last refresh's result stands: SUCCESS with the
    // buffer untouched for an index no configuration has.
    const auto range = m_Messages.equal_range(Row.Id);
    if (range.first == range.second) {
        return FAILED_TO_SEND_ALL_DATA;
    }
    VeskEventCode_T result = SUCCESS;
    for (auto entry = range.first; entry != range.second; ++entry) {
        ISonar4Message& message = *entry->second;
        result = Row.Reload(message);
        if (result == SUCCESS && Row.ConfigIndex(message) == Index) {
            return message.CreateMessage(Buffer);
        }
    }
    return result;
}

VeskEventCode_T CSonar4::DecodeByConfigIndex(const Sonar4MessageRow_T& Row, const Buffer_Bytes_T* Buffer)
{
    const PingConfigIndex_T index = GetPingConfigIndex(Buffer);
    const auto range = m_Messages.equal_range(Row.Id);
    for (auto entry = range.first; entry != range.second; ++entry) {
        if (Row.ConfigIndex(*entry->second) == index) {
            return entry->second->DecodeMessage(Buffer);
        }
    }
    return FAILED_TO_FIND_PING;
}

void CSonar4::ReloadSupportedTransducers()
{
    const Sonar4MessageRow_T* const row = FindSonar4MessageRow(Message_Id_Sonar4_Supported_Transducers);
    ISonar4Message* const pMessage = FindMessage(Message_Id_Sonar4_Supported_Transducers);
    if (row != nullptr && row->Reload != nullptr && pMessage != nullptr) {
        // A failed reload leaves the last loaded list, which the settings
        // are then checked against.
        row->Reload(*pMessage);
    }
}

VeskEventCode_T CSonar4::DecodeMessage(const Buffer_Bytes_T* Buffer, LNET_MESSAGE_ID_T* pMessageId)
{
    VESK_ASSERT(Buffer);
    const LNET_MESSAGE_ID_T id = GetMessageID(Buffer);
    if (pMessageId != nullptr) {
        *pMessageId = id;
    }

    const Sonar4MessageRow_T* const row = FindSonar4MessageRow(id);
    // Ids without a row (unknown ones) are the caller's, like those whose
    // row says so; they are only counted here.
    const Sonar4ReceiveRule_T rule = row != nullptr ? row->Receive : RECEIVE_LEFT_TO_CALLER;
    VeskEventCode_T result = SUCCESS;
    switch (rule) {
    case RECEIVE_BY_PING_CONFIG_INDEX:
        result = DecodeByConfigIndex(*row, Buffer);
        break;
    case RECEIVE_AFTER_TRANSDUCER_RELOAD:
        ReloadSupportedTransducers();
        [[fallthrough]];
    case RECEIVE_DECODED:
        if (ISonar4Message* const pMessage = FindMessage(id)) {
            result = pMessage->DecodeMessage(Buffer);
        }
        break;
    case RECEIVE_LEFT_TO_CALLER:
        break;
    }
    if (result != SUCCESS) {
        ++m_DecodeErrorCount;
        return result;
    }
    ++m_ReceivedCount[id];
    return SUCCESS;
}
