#ifndef SONAR4_SONAR4_H
#define SONAR4_SONAR4_H

#include <cstddef>
#include <cstdint>
#include <map>

#include "Sonar4/ISonar4Message.h"
#include "Sonar4/Sonar4MessageTable.h"
#include "Sonar4/Sonar4Types.h"
#include "Utilities/ByteBuffer.h"
#include "Utilities/VeskEventCode.h"
#include "Utilities/VeskTypes.h"

class IOSSFactory;
class CSonar4PingData;
class CSonar4ServiceInfoMessage;

// The codec a task owns: one message object per message id (each holding
// its record), building outgoing packets from the record files and handing
// received packets to the message that owns their id. Counts what it built
// and received per id. One task thread only; no locks.
class CSonar4 final {
public:
    explicit CSonar4(IOSSFactory* pFactory);
    virtual ~CSonar4();
    CSonar4(const CSonar4&) = delete;
    CSonar4& operator=(const CSonar4&) = delete;

    // Builds the packet of Id into Buffer (whose size must hold it). Index
    // selects the ping configuration and matters only for ping parameters.
    // FAILED_TO_SEND_ALL_DATA when no message object has the id.
    VeskEventCode_T ConstructMessage(LNET_MESSAGE_ID_T Id, Buffer_Bytes_T* Buffer, PingConfigIndex_T Index);
    // The next segment of a ping's data into OutputBuffer (whose size must
    // hold the largest segment). A non-empty PingData starts a new run over
    // its bytes, which the caller keeps alive and unchanged until the run
    // ends; an empty one continues the current run. At the end of the run
    // the output size is 0.
    VeskEventCode_T PingDataTok(Buffer_Bytes_T* OutputBuffer, const Buffer_Bytes_T* PingData, UINT8 Tag,
                                PingDataType_T Type, PingConfigIndex_T Index);
    // Hands a received packet to its message (for the ids decoded here) and
    // stores its id through pMessageId. Ids not decoded here are only
    // counted and left to the caller.
    VeskEventCode_T DecodeMessage(const Buffer_Bytes_T* Buffer, LNET_MESSAGE_ID_T* pMessageId);

    // Header fields of a packet; the buffer must hold the field.
    LNET_MESSAGE_ID_T GetMessageID(const Buffer_Bytes_T* Buffer) const;
    size_t GetMessageSize(const Buffer_Bytes_T* Buffer) const;
    // Ping configuration index of a ping parameters packet: the byte at
    // offset 20 whenever the buffer's memory holds it, whatever its current
    // size; 0 for a buffer whose capacity ends before it.
    PingConfigIndex_T GetPingConfigIndex(const Buffer_Bytes_T* Buffer) const;

    uint32_t GetDecodeErrorCount() const { return m_DecodeErrorCount; }
    uint32_t GetReceivedCount(LNET_MESSAGE_ID_T Id) const { return CountOf(m_ReceivedCount, Id); }
    uint32_t GetConstructedCount(LNET_MESSAGE_ID_T Id) const { return CountOf(m_ConstructedCount, Id); }

private:
    using MessageMap_T = Sonar4MessageMap_T;
    using CountMap_T = std::map<LNET_MESSAGE_ID_T, uint32_t>;

    static constexpr size_t cPingConfigIndexOffset = 20;

    // The first message object of Id in insertion order; null when none.
    ISonar4Message* FindMessage(LNET_MESSAGE_ID_T Id) const;
    // The walk over the instances of a row told apart by configuration index.
    VeskEventCode_T ConstructByConfigIndex(const Sonar4MessageRow_T& Row, Buffer_Bytes_T* Buffer,
                                           PingConfigIndex_T Index);
    VeskEventCode_T DecodeByConfigIndex(const Sonar4MessageRow_T& Row, const Buffer_Bytes_T* Buffer);
    // Makes the supported transducers reload their file, once they exist.
    void ReloadSupportedTransducers();
    static uint32_t CountOf(const CountMap_T& Counts, LNET_MESSAGE_ID_T Id);

    IOSSFactory* m_pFactory;
    // Owns the message objects, made from the message table in its order;
    // ping parameters have one entry per configuration, kept in index order
    // under the one id.
    MessageMap_T m_Messages;
    uint32_t m_DecodeErrorCount = 0;
    CountMap_T m_ReceivedCount;
    CountMap_T m_ConstructedCount;
    CSonar4PingData* m_PingData = nullptr;
    CSonar4ServiceInfoMessage* m_ServiceInfo = nullptr;
};

#endif
