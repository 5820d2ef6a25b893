#ifndef SONAR4_SONAR4PINGRESULTSMESSAGE_H
#define SONAR4_SONAR4PINGRESULTSMESSAGE_H

#include "Sonar4/ISonar4Message.h"

class IOSSFactory;

// Reserves the ping results id in the codec. There is no record behind it:
// building and accepting succeed without touching the buffer.
class CSonar4PingResultsMessage : public ISonar4Message {
public:
    explicit CSonar4PingResultsMessage(IOSSFactory* pFactory) : m_pFactory(pFactory) {}
    ~CSonar4PingResultsMessage() override { m_pFactory = nullptr; }

    size_t GetPacketSize() const override { return 0; }
    VeskEventCode_T DecodeMessage(const Buffer_Bytes_T*) override { return SUCCESS; }
    VeskEventCode_T CreateMessage(Buffer_Bytes_T*) override { return SUCCESS; }
    const char* GetDBFilePath() const override { return nullptr; }

private:
    IOSSFactory* m_pFactory;
};

#endif
