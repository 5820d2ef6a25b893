#include "Sonar4/Sonar4MessageTable.h"

#include "Sonar4/Sonar4EnvironmentLimitsMessage.h"
#include "Sonar4/Sonar4ErrorStatusMessage.h"
#include "Sonar4/Sonar4MasterBottomRecordMessage.h"
#include "Sonar4/Sonar4PingResultsMessage.h"
#include "Sonar4/Sonar4ServiceInfoMessage.h"
#include "Sonar4/Sonar4SystemLimitsMessage.h"
#include "Sonar4/Sonar4SystemSettingsMessage.h"
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

// The row of a message that only forwards to its record.
template <typename Message>
Sonar4MessageRow_T RecordRow(const char* ClassName, Sonar4ReceiveRule_T Receive)
{
    using Record = typename Message::Record_T;
    return {Record::cDescription.MessageId,
            Record::cDescription.Names.MessageId,
            ClassName,
            1,
            &MakeWithFactory<Message>,
            Receive,
            nullptr,
            nullptr,
            SharedRecordFacts<Record>()};
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
        // Ping parameters (32 instances), heartbeat, ping data, system
        // status data and environment data come here.
        RecordRow<CSonar4EnvironmentLimitsMessage>("CSonar4EnvironmentLimitsMessage", RECEIVE_LEFT_TO_CALLER),
        RecordRow<CSonar4SystemLimitsMessage>("CSonar4SystemLimitsMessage", RECEIVE_LEFT_TO_CALLER),
        RecordRow<CSonar4MasterBottomRecordMessage>("CSonar4MasterBottomRecordMessage", RECEIVE_LEFT_TO_CALLER),
        // Place of the supported transducers row (0x270109; its Reload is
        // what a received system settings packet triggers), then of the
        // transducers fitted row (0x27010A).
        // Command comes here.
        RecordRow<CSonar4ErrorStatusMessage>("CSonar4ErrorStatusMessage", RECEIVE_LEFT_TO_CALLER),
        ServiceInfoRow(),
        // Unit info and recording status come here.
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
