#include "Sonar4/Sonar4MessageTable.h"

#include "Database/RecordDescription.h"
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
#include "Sonar4/Sonar4SupportedTransducersMessage.h"
#include "Sonar4/Sonar4SystemLimitsMessage.h"
#include "Sonar4/Sonar4SystemSettingsMessage.h"
#include "Sonar4/Sonar4SystemStatusDataMessage.h"
#include "Sonar4/Sonar4TransducersFittedMessage.h"
#include "Sonar4/Sonar4UnitInfoMessage.h"
#include "Utilities/VeskAssert.h"

namespace {

template <typename Message>
ISonar4Message* MakeWithFactory(const Sonar4MessageContext_T& Context)
{
    return new Message(Context.pFactory);
}

using MakeMessage_T = ISonar4Message* (*)(const Sonar4MessageContext_T&);

Sonar4MessageRow_T MessageRow(const char* ClassName, LNET_MESSAGE_ID_T Id, const char* IdName,
                              Sonar4ReceiveRule_T Receive, MakeMessage_T Make)
{
    Sonar4MessageRow_T row;
    row.Id = Id;
    row.IdName = IdName;
    row.ClassName = ClassName;
    row.Make = Make;
    row.Receive = Receive;
    return row;
}

// The facts of a record built on the shared record machinery, all taken
// from its own description and packet.
template <typename Record>
Sonar4RecordFacts_T SharedRecordFacts()
{
    const DatabaseRecordDescription_T& description = Record::cDescription;
    Sonar4RecordFacts_T facts;
    facts.Kind = RECORD_SHARED;
    facts.ClassName = description.File.ClassName;
    facts.FileName = description.FileName;
    facts.DirectoryVariable = description.File.DirectoryVariable;
    facts.PacketSize = Record::cPacketSize;
    facts.UnitCheck = description.UnitCheck;
    facts.Validates = description.ReplaceInvalidValues != nullptr;
    facts.Fields = Record::Packet_T::cFields.data();
    facts.FieldCount = Record::Packet_T::cFields.size();
    return facts;
}

// The row of a message that forwards to its record, whose description
// gives the id; made with the factory alone unless Make says otherwise.
template <typename Message>
Sonar4MessageRow_T RecordRow(const char* ClassName, Sonar4ReceiveRule_T Receive,
                             MakeMessage_T Make = &MakeWithFactory<Message>)
{
    using Record = typename Message::Record_T;
    Sonar4MessageRow_T row =
        MessageRow(ClassName, Record::cDescription.MessageId, Record::cDescription.Names.MessageId, Receive, Make);
    row.Record = SharedRecordFacts<Record>();
    return row;
}

// Rows name their message class once, as the type. A message without a
// record of its own is made with the factory alone.
#define MESSAGE_ROW(Message, Id, Receive) MessageRow(#Message, VESK_NAMED(Id), Receive, &MakeWithFactory<Message>)
#define RECORD_ROW(Message, ...) RecordRow<Message>(#Message, __VA_ARGS__)

// One message per ping configuration, told apart by the index their
// packets hold; the codec refreshes them on its way to the one it builds.
Sonar4MessageRow_T PingParametersRow()
{
    Sonar4MessageRow_T row = RECORD_ROW(
        CSonar4PingParametersMessage, RECEIVE_BY_PING_CONFIG_INDEX,
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
    return RECORD_ROW(
        CSonar4UnitInfoMessage, RECEIVE_LEFT_TO_CALLER, [](const Sonar4MessageContext_T& Context) -> ISonar4Message* {
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
    Sonar4MessageRow_T row = MESSAGE_ROW(CSonar4PingData, Message_Id_Sonar4_Ping_Data, RECEIVE_LEFT_TO_CALLER);
    row.Record.Kind = RECORD_OWN_RULES;
    row.Record.ClassName = "CDatabasePingData";
    row.Record.PacketSize = CDatabasePingData::cPacketSize;
    row.Record.Fields = Packet::cFields.data();
    row.Record.FieldCount = Packet::cFields.size();
    return row;
}

Sonar4MessageRow_T ServiceInfoRow()
{
    using Record = CDatabaseServiceInfoMessage;
    using Packet = Record::Packet_T;
    Sonar4MessageRow_T row = MESSAGE_ROW(CSonar4ServiceInfoMessage, Sonar4_Service_Info_Message, RECEIVE_DECODED);
    row.Record.Kind = RECORD_OWN_RULES;
    row.Record.ClassName = Record::cFileDescription.ClassName;
    row.Record.FileName = Record::cFileName;
    row.Record.DirectoryVariable = Record::cFileDescription.DirectoryVariable;
    row.Record.PacketSize = Record::cPacketSize;
    row.Record.Fields = Packet::cFields;
    row.Record.FieldCount = sizeof(Packet::cFields) / sizeof(Packet::cFields[0]);
    return row;
}

VeskEventCode_T ReloadSupportedTransducers(ISonar4Message& Message)
{
    return static_cast<CSonar4SupportedTransducersMessage&>(Message).ReloadRecord();
}

// Received settings may name a transducer of the list: the codec reloads it
// through this row first.
Sonar4MessageRow_T SupportedTransducersRow()
{
    Sonar4MessageRow_T row = RECORD_ROW(CSonar4SupportedTransducersMessage, RECEIVE_LEFT_TO_CALLER);
    row.Reload = &ReloadSupportedTransducers;
    return row;
}

} // namespace

const Sonar4MessageTable_T& GetSonar4MessageTable()
{
    // Built on first use: the rows take their facts from the records'
    // descriptions, which live in other translation units.
    static const Sonar4MessageRow_T cRows[] = {
        RECORD_ROW(CSonar4SystemSettingsMessage, RECEIVE_AFTER_TRANSDUCER_RELOAD),
        MESSAGE_ROW(CSonar4PingResultsMessage, Message_Id_Sonar4_Ping_Results, RECEIVE_LEFT_TO_CALLER),
        PingParametersRow(),
        RECORD_ROW(CSonar4HeartbeatMessage, RECEIVE_DECODED),
        PingDataRow(),
        RECORD_ROW(CSonar4SystemStatusDataMessage, RECEIVE_LEFT_TO_CALLER),
        RECORD_ROW(CSonar4EnvironmentDataMessage, RECEIVE_LEFT_TO_CALLER),
        RECORD_ROW(CSonar4EnvironmentLimitsMessage, RECEIVE_LEFT_TO_CALLER),
        RECORD_ROW(CSonar4SystemLimitsMessage, RECEIVE_LEFT_TO_CALLER),
        RECORD_ROW(CSonar4MasterBottomRecordMessage, RECEIVE_LEFT_TO_CALLER),
        SupportedTransducersRow(),
        RECORD_ROW(CSonar4TransducersFittedMessage, RECEIVE_LEFT_TO_CALLER),
        RECORD_ROW(CSonar4CommandMessage, RECEIVE_DECODED),
        RECORD_ROW(CSonar4ErrorStatusMessage, RECEIVE_LEFT_TO_CALLER),
        ServiceInfoRow(),
        UnitInfoRow(),
        RECORD_ROW(CSonar4RecordingStatusMessage, RECEIVE_LEFT_TO_CALLER),
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
