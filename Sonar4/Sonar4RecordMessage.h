#ifndef SONAR4_SONAR4RECORDMESSAGE_H
#define SONAR4_SONAR4RECORDMESSAGE_H

#include <utility>

#include "Sonar4/ISonar4Message.h"

class IOSSFactory;

// The one adapter from a database record to the codec's message interface.
// Every operation is forwarded unchanged to the record held by value; the
// message classes are thin subclasses that only name their record and add
// the odd operation of their own (GetPacket, a reload, a derived value).
//
// Record must offer a constructor taking the factory (plus any extra
// arguments given here), cPacketSize, DecodeMessage, CreateMessage and
// GetDBFilePath. Constructing the message constructs the record, which loads
// or creates its file at once.
template <typename Record>
class CSonar4RecordMessage : public ISonar4Message {
public:
    using Record_T = Record;

    template <typename... ExtraArgs>
    explicit CSonar4RecordMessage(IOSSFactory* pFactory, ExtraArgs&&... Extra)
        : m_pFactory(pFactory), m_Record(pFactory, std::forward<ExtraArgs>(Extra)...)
    {
    }

    ~CSonar4RecordMessage() override { m_pFactory = nullptr; }

    size_t GetPacketSize() const override { return Record::cPacketSize; }
    VeskEventCode_T DecodeMessage(const Buffer_Bytes_T* Buffer) override { return m_Record.DecodeMessage(Buffer); }
    VeskEventCode_T CreateMessage(Buffer_Bytes_T* Buffer) override { return m_Record.CreateMessage(Buffer); }
    const char* GetDBFilePath() const override { return m_Record.GetDBFilePath(); }

protected:
    Record& GetRecord() { return m_Record; }
    const Record& GetRecord() const { return m_Record; }

private:
    IOSSFactory* m_pFactory;
    Record m_Record;
};

#endif
