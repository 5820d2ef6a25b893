#include "Sonar4/Sonar4MessageTable.h"

#include "Sonar4/Sonar4CommandMessage.h"
#include "Sonar4/Sonar4EnvironmentDataMessage.h"
#include "Sonar4/Sonar4EnvironmentLimitsMessage.h"
#include "Sonar4/Sonar4ErrorStatusMessage.h"
#include "Sonar4/Sonar4HeartbeatMessage.h"
#include "Sonar4/Sonar4MasterBottomRecordMessage.h"
#include "Sonar4/Sonar4PingData.h"
#include "Sonar4/Sonar4PingParametersMessage.h"
#include "Sonar4/Sonar4PingResultsMessage.h"
#include "Sonar4/Sonar4RecordingStatusMessage.h"
#include "Sonar4/Sonar4ServiceInfoMessage.h"
#include "Sonar4/Sonar4SystemLimitsMessage.h"
#include "Sonar4/Sonar4SystemSettingsMessage.h"
#include "Sonar4/Sonar4SystemStatusDataMessage.h"
#include "Sonar4/Sonar4UnitInfoMessage.h"
#include "Utilities/VeskAssert.h"

namespace {

template <typename Message>
ISonar4Message* MakeWithFactory(const Sonar4MessageContext_T& Context)
{
    return new Message(Context.pFactory);
}

// The facts of a record built on the shared record machinery, all taken
// from its own description and packet.
template <typename Record>
Sonar4RecordFacts_T SharedRecordFacts()
{
    const DatabaseRecordDescription_T& description = Record::cDescription;
    return {RECORD_SHARED,
            description.File.ClassName,
            description.FileName,
            description.File.DirectoryVariable,
            Record::cPacketSize,
            description.UnitCheck,
            description.ReplaceInvalidValues != nullptr,
            Record::Packet_T::cFields.data(),
            Record::Packet_T::cFields.size()};
}

using MakeMessage_T = ISonar4Message* (*)(const Sonar4MessageContext_T&);

// The row of a message that forwards to its record; made with the factory
// alone unless Make says otherwise.
template <typename Message>
Sonar4MessageRow_T RecordRow(const char* ClassName, Sonar4ReceiveRule_T Receive, MakeMessage_T Make)
{
    using Record = typename Message::Record_T;
    return {Record::cDescription.MessageId,
            Record::cDescription.Names.MessageId,
            ClassName,
            1,
            Make,
            Receive,
            nullptr,
            nullptr,
            SharedRecordFacts<Record>()};
}

template <typename Message>
Sonar4MessageRow_T RecordRow(const char* ClassName, Sonar4ReceiveRule_T Receive)
{
    return RecordRow<Message>(ClassName, Receive, &MakeWithFactory<Message>);
}

// One message per ping configuration, told apart by the index their
// packets hold; the codec refreshes them on its way to the one it builds.
Sonar4MessageRow_T PingParametersRow()
{
    Sonar4MessageRow_T row = RecordRow<CSonar4PingParametersMessage>(
        "CSonar4PingParametersMessage", RECEIVE_BY_PING_CONFIG_INDEX,
        [](const Sonar4MessageContext_T& Context) -> ISonar4Message* {
            return new CSonar4PingParametersMessage(Context.pFactory, Context.Instance);
        });
    row.Instances = PingConfigIndex_end;
    row.Reload = [](ISonar4Message& Message) { return static_cast<CSonar4PingParametersMessage&>(Message).Refresh(); };
    row.ConfigIndex = [](const ISonar4Message& Message) {
        return static_cast<const CSonar4PingParametersMessage&>(Message).GetPingConfigIndex();
    };
    return row;
}

// The unit info record takes the unit's address from the service info
// message, made by an earlier row.
Sonar4MessageRow_T UnitInfoRow()
{
    return RecordRow<CSonar4UnitInfoMessage>(
        "CSonar4UnitInfoMessage", RECEIVE_LEFT_TO_CALLER, [](const Sonar4MessageContext_T& Context) -> ISonar4Message* {
            const auto serviceInfo = Context.pMessages->find(Sonar4_Service_Info_Message);
            VESK_ASSERT(serviceInfo != Context.pMessages->end());
            const auto* pServiceInfo = dynamic_cast<const CSonar4ServiceInfoMessage*>(serviceInfo->second);
            VESK_ASSERT(pServiceInfo);
            return new CSonar4UnitInfoMessage(Context.pFactory, pServiceInfo->GetUnitInfoIPAddress());
        });
}

// Write-only, without a file: segments are built, never received.
Sonar4MessageRow_T PingDataRow()
{
    using Packet = Sonar4PingDataPacket;
    return {Message_Id_Sonar4_Ping_Data,
            "Message_Id_Sonar4_Ping_Data",
            "CSonar4PingData",
            1,
            &MakeWithFactory<CSonar4PingData>,
            RECEIVE_LEFT_TO_CALLER,
            nullptr,
            nullptr,
            {RECORD_OWN_RULES, "CDatabasePingData", nullptr, nullptr, CDatabasePingData::cPacketSize,
             UNIT_CHECK_VERSION_AND_SERIAL, false, Packet::cFields.data(), Packet::cFields.size()}};
}

Sonar4MessageRow_T ServiceInfoRow()
{
    using Record = CDatabaseServiceInfoMessage;
    using Packet = Record::Packet_T;
    return {Sonar4_Service_Info_Message,
            "Sonar4_Service_Info_Message",
            "CSonar4ServiceInfoMessage",
            1,
            &MakeWithFactory<CSonar4ServiceInfoMessage>,
            RECEIVE_DECODED,
            nullptr,
            nullptr,
            {RECORD_OWN_RULES, Record::cFileDescription.ClassName, Record::cFileName,
             Record::cFileDescription.DirectoryVariable, Record::cPacketSize, UNIT_CHECK_VERSION_AND_SERIAL, false,
             Packet::cFields, sizeof(Packet::cFields) / sizeof(Packet::cFields[0])}};
}

Sonar4MessageRow_T PingResultsRow()
{
    return {Message_Id_Sonar4_Ping_Results,
            "Message_Id_Sonar4_Ping_Results",
            "CSonar4PingResultsMessage",
            1,
            &MakeWithFactory<CSonar4PingResultsMessage>,
            RECEIVE_LEFT_TO_CALLER,
            nullptr,
            nullptr,
            {RECORD_NONE, nullptr, nullptr, nullptr, 0, UNIT_CHECK_VERSION_AND_SERIAL, false, nullptr, 0}};
}

} // namespace

const Sonar4MessageTable_T& GetSonar4MessageTable()
{
    // Built on first use: the rows take their facts from the records'
    // descriptions, which live in other translation units.
    static const Sonar4MessageRow_T cRows[] = {
        RecordRow<CSonar4SystemSettingsMessage>("CSonar4SystemSettingsMessage", RECEIVE_AFTER_TRANSDUCER_RELOAD),
        PingResultsRow(),
        PingParametersRow(),
        RecordRow<CSonar4HeartbeatMessage>("CSonar4HeartbeatMessage", RECEIVE_DECODED),
        PingDataRow(),
        RecordRow<CSonar4SystemStatusDataMessage>("CSonar4SystemStatusDataMessage", RECEIVE_LEFT_TO_CALLER),
        RecordRow<CSonar4EnvironmentDataMessage>("CSonar4EnvironmentDataMessage", RECEIVE_LEFT_TO_CALLER),
        RecordRow<CSonar4EnvironmentLimitsMessage>("CSonar4EnvironmentLimitsMessage", RECEIVE_LEFT_TO_CALLER),
        RecordRow<CSonar4SystemLimitsMessage>("CSonar4SystemLimitsMessage", RECEIVE_LEFT_TO_CALLER),
        RecordRow<CSonar4MasterBottomRecordMessage>("CSonar4MasterBottomRecordMessage", RECEIVE_LEFT_TO_CALLER),
        // Place of the supported transducers row (0x270109, left to the
        // caller; its Reload is what a received system settings packet
        // triggers), then of the transducers fitted row (0x27010A).
        RecordRow<CSonar4CommandMessage>("CSonar4CommandMessage", RECEIVE_DECODED),
        RecordRow<CSonar4ErrorStatusMessage>("CSonar4ErrorStatusMessage", RECEIVE_LEFT_TO_CALLER),
        ServiceInfoRow(),
        UnitInfoRow(),
        RecordRow<CSonar4RecordingStatusMessage>("CSonar4RecordingStatusMessage", RECEIVE_LEFT_TO_CALLER),
    };
    static const Sonar4MessageTable_T cTable = {cRows, sizeof(cRows) / sizeof(cRows[0])};
    return cTable;
}

const Sonar4MessageRow_T* FindSonar4MessageRow(LNET_MESSAGE_ID_T Id)
{
    for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
        if (row.Id == Id) {
            return &row;
        }
    }
    return nullptr;
}

void MakeSonar4Messages(IOSSFactory* pFactory, Sonar4MessageMap_T& Messages)
{
    for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
        for (unsigned instance = 0; instance < row.Instances; ++instance) {
            const Sonar4MessageContext_T context = {pFactory, static_cast<PingConfigIndex_T>(instance), &Messages};
            // A multimap inserts an equal key after the ones already there.
            Messages.insert({row.Id, row.Make(context)});
        }
    }
}

void DeleteSonar4Messages(Sonar4MessageMap_T& Messages)
{
    for (auto& entry : Messages) {
        delete entry.second;
    }
    Messages.clear();
}

const char* PacketFieldTypeName(PacketFieldType_T Type)
{
    switch (Type) {
    case FIELD_U8:
        return "u8";
    case FIELD_S8:
        return "s8";
    case FIELD_U16:
        return "u16";
    case FIELD_S16:
        return "s16";
    case FIELD_U32:
        return "u32";
    case FIELD_S32:
        return "s32";
    case FIELD_U64:
        return "u64";
    case FIELD_IPV4:
        return "ipv4";
    case FIELD_BYTES:
        return "bytes";
    case FIELD_CHARS:
        return "chars";
    }
    return "?";
}
