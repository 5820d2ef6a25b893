#ifndef SONAR4_SONAR4MESSAGETABLE_H
#define SONAR4_SONAR4MESSAGETABLE_H

// The codec's messages, one row each, in the order in which the codec makes
// them. The codec's constructor, its DecodeMessage, the generic record
// tests, the fuzzers and the operator tools all read this one table, so a
// new message is one row here (plus its record's own files).

#include <cstddef>
#include <map>

#include "Database/DatabaseRecord.h"
#include "Sonar4/ISonar4Message.h"
#include "Sonar4/Sonar4Packet.h"
#include "Sonar4/Sonar4Types.h"

class IOSSFactory;

// The codec's message objects by id, owned by whoever made them. Messages
// sharing an id (the ping configurations) follow in insertion order.
using Sonar4MessageMap_T = std::multimap<LNET_MESSAGE_ID_T, ISonar4Message*>;

// What the codec does with a received packet of a row's id.
enum Sonar4ReceiveRule_T {
    // Only counted: the caller handles it.
    RECEIVE_LEFT_TO_CALLER,
    // Handed to the message's DecodeMessage.
    RECEIVE_DECODED,
    // Handed to the instance whose configuration index is the packet's.
    RECEIVE_BY_PING_CONFIG_INDEX,
    // The supported transducers reload their file first (the settings refer
    // to their counter), then the packet is decoded.
    RECEIVE_AFTER_TRANSDUCER_RELOAD,
};

// What a row's Make needs besides the factory.
struct Sonar4MessageContext_T {
    IOSSFactory* pFactory;
    // Instance number: the ping configuration index; 0 for single rows.
    PingConfigIndex_T Instance;
    // The messages made by the rows before this one.
    const Sonar4MessageMap_T* pMessages;
};

// How the shared record checks a message's record; the service info
// discovery packet and the write-only ping data have rules of their own.
enum Sonar4RecordKind_T {
    RECORD_NONE,
    // CDatabaseRecord: Sonar4 header, defaults, version (and serial) checks.
    RECORD_SHARED,
    // A record with its own header or file rules.
    RECORD_OWN_RULES,
};

// The record behind a message, as the tools see it.
struct Sonar4RecordFacts_T {
    Sonar4RecordKind_T Kind = RECORD_NONE;
    const char* ClassName = nullptr;
    // File name; "%u" stands for the instance number. Null: no file.
    const char* FileName = nullptr;
    const char* DirectoryVariable = nullptr;
    // The largest packet; a fixed-size record's file is exactly this long.
    size_t PacketSize = 0;
    RecordUnitCheck_T UnitCheck = UNIT_CHECK_VERSION_AND_SERIAL;
    // True when stores and loads replace out-of-range values.
    bool Validates = false;
    // The whole packet, header included, in offset order.
    const PacketField_T* Fields = nullptr;
    size_t FieldCount = 0;
};

struct Sonar4MessageRow_T {
    LNET_MESSAGE_ID_T Id{};
    // The id's enumerator, e.g. "Message_Id_Sonar4_Heartbeat".
    const char* IdName = nullptr;
    // The message class, e.g. "CSonar4HeartbeatMessage".
    const char* ClassName = nullptr;
    // Objects made under this id (one per ping configuration for ping parameters).
    unsigned Instances = 1;
    // Makes one object; the caller owns it.
    ISonar4Message* (*Make)(const Sonar4MessageContext_T& Context) = nullptr;
    Sonar4ReceiveRule_T Receive = RECEIVE_LEFT_TO_CALLER;
    // Reloads the message's record from its file; null for messages
    // without that operation.
    VeskEventCode_T (*Reload)(ISonar4Message& Message) = nullptr;
    // The configuration index an instance holds; null for messages whose
    // objects are not told apart by one.
    PingConfigIndex_T (*ConfigIndex)(const ISonar4Message& Message) = nullptr;
    Sonar4RecordFacts_T Record;
};

// The rows in the codec's order of making.
struct Sonar4MessageTable_T {
    const Sonar4MessageRow_T* Rows;
    size_t Count;

    const Sonar4MessageRow_T* begin() const { return Rows; }
    const Sonar4MessageRow_T* end() const { return Rows + Count; }
};
const Sonar4MessageTable_T& GetSonar4MessageTable();

// The row of Id; null when the codec has no message of that id.
const Sonar4MessageRow_T* FindSonar4MessageRow(LNET_MESSAGE_ID_T Id);

// Makes every row's objects in table order and inserts them into Messages;
// the caller deletes them (DeleteSonar4Messages).
void MakeSonar4Messages(IOSSFactory* pFactory, Sonar4MessageMap_T& Messages);
void DeleteSonar4Messages(Sonar4MessageMap_T& Messages);

// "u8", "s32", "bytes", ...
const char* PacketFieldTypeName(PacketFieldType_T Type);

#endif
