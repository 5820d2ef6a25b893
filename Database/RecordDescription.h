#ifndef DATABASE_RECORDDESCRIPTION_H
#define DATABASE_RECORDDESCRIPTION_H

// A record's description written field by field, each under its own name:
//
//   VESK_RECORD_DESCRIPTION(CDatabaseCommandMessage)
//       .Directory("NONPERSISTED_DATABASE_ROOT")
//       .FileName("Command.bin")
//       .Message(VESK_NAMED(Message_Id_Sonar4_Command))
//       ...;
//
// What is not set keeps the default its description type gives it. Every
// setter is constexpr, so a description is complete before any code runs,
// whichever translation unit reads it first.

#include <cstddef>
#include <cstdint>

#include "Database/DatabaseFile.h"
#include "Database/DatabaseRecord.h"

// An enumerator followed by its name as text, for fields that keep both.
#define VESK_NAMED(Enumerator) Enumerator, #Enumerator

// Defines Record::cDescription, naming the class once.
#define VESK_RECORD_DESCRIPTION(Record) \
    const DatabaseRecordDescription_T Record::cDescription = CRecordDescription(#Record)

// Defines Record::cFileDescription for a record with a file life cycle of
// its own, naming the class once.
#define VESK_FILE_DESCRIPTION(Record) \
    const DatabaseFileDescription_T Record::cFileDescription = CRecordDescription(#Record)

class CRecordDescription {
    // Defined ahead of the setters: a constant evaluation only calls what
    // it has already seen.
    template <typename Field, typename Value>
    constexpr CRecordDescription& Set(Field& Target, Value Given)
    {
        Target = Given;
        return *this;
    }

public:
    explicit constexpr CRecordDescription(const char* ClassName) : m_Description()
    {
        m_Description.File.ClassName = ClassName;
    }

    constexpr operator DatabaseRecordDescription_T() const { return m_Description; }
    constexpr operator DatabaseFileDescription_T() const { return m_Description.File; }

    // The file's life cycle.
    constexpr CRecordDescription& Directory(const char* Variable) { return Set(File().DirectoryVariable, Variable); }
    constexpr CRecordDescription& FactoryAssertion(const char* Text) { return Set(File().FactoryAssertion, Text); }
    constexpr CRecordDescription& ReportsConstruction(bool Reports) { return Set(File().ReportsConstruction, Reports); }
    constexpr CRecordDescription& CheckForFileWrites(bool Writes) { return Set(File().CheckForFileWrites, Writes); }
    constexpr CRecordDescription& CheckForFileFailureLevel(int Level)
    {
        return Set(File().CheckForFileFailureLevel, Level);
    }
    constexpr CRecordDescription& CheckForFileFailureWhy(const char* Why)
    {
        return Set(File().CheckForFileFailureWhy, Why);
    }
    constexpr CRecordDescription& LoadChecksForFile(bool Checks) { return Set(File().LoadChecksForFile, Checks); }
    constexpr CRecordDescription& ReportsStoreFailures(bool Reports)
    {
        return Set(File().ReportsStoreFailures, Reports);
    }

    // The C++ names assertion texts use.
    constexpr CRecordDescription& PacketName(const char* Name) { return Set(m_Description.Names.Packet, Name); }
    constexpr CRecordDescription& MemberName(const char* Name) { return Set(m_Description.Names.Member, Name); }
    constexpr CRecordDescription& LoadedName(const char* Name) { return Set(m_Description.Names.Loaded, Name); }

    // The record's file and packet.
    constexpr CRecordDescription& FileName(const char* Name) { return Set(m_Description.FileName, Name); }
    constexpr CRecordDescription& Message(LNET_MESSAGE_ID_T Id, const char* IdName)
    {
        m_Description.Names.MessageId = IdName;
        return Set(m_Description.MessageId, Id);
    }
    constexpr CRecordDescription& UnitCheck(RecordUnitCheck_T Check) { return Set(m_Description.UnitCheck, Check); }
    template <size_t Size>
    constexpr CRecordDescription& DefaultPayload(const uint8_t (&Bytes)[Size])
    {
        m_Description.DefaultPayloadSize = Size;
        return Set(m_Description.DefaultPayload, &Bytes[0]);
    }
    constexpr CRecordDescription& SetComputedDefaults(void (*Hook)(IOSSFactory*, uint8_t*, uint32_t))
    {
        return Set(m_Description.SetComputedDefaults, Hook);
    }
    constexpr CRecordDescription& ReplaceInvalidValues(bool (*Hook)(uint8_t*))
    {
        return Set(m_Description.ReplaceInvalidValues, Hook);
    }
    constexpr CRecordDescription& MissingFileResetBytes(size_t Count)
    {
        return Set(m_Description.MissingFileResetBytes, Count);
    }

    // Texts of failures and assertions worded the record's own way.
    constexpr CRecordDescription& WriteFailedWhy(const char* Why) { return Set(m_Description.WriteFailedWhy, Why); }
    constexpr CRecordDescription& ReadFailedWhy(const char* Why) { return Set(m_Description.ReadFailedWhy, Why); }
    constexpr CRecordDescription& WriteFailedOperation(const char* Operation)
    {
        return Set(m_Description.WriteFailedOperation, Operation);
    }
    constexpr CRecordDescription& NullBufferAssertion(const char* Text)
    {
        return Set(m_Description.NullBufferAssertion, Text);
    }
    constexpr CRecordDescription& EmptyBufferAssertion(const char* Text)
    {
        return Set(m_Description.EmptyBufferAssertion, Text);
    }
    constexpr CRecordDescription& SmallBufferAssertion(const char* Text)
    {
        return Set(m_Description.SmallBufferAssertion, Text);
    }

private:
    constexpr DatabaseFileDescription_T& File() { return m_Description.File; }

    DatabaseRecordDescription_T m_Description;
};

#endif
