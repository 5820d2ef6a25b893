#ifndef SONAR4_SONAR4PINGDATA_H
#define SONAR4_SONAR4PINGDATA_H

#include "Database/DatabasePingData.h"
#include "Sonar4/Sonar4RecordMessage.h"

// The ping's sampled data, sent as a run of segments: SetPingData starts a
// run, each CreateMessage yields the next segment. The record has no file,
// so DecodeMessage and GetDBFilePath end the process.
class CSonar4PingData : public CSonar4RecordMessage<CDatabasePingData> {
public:
    using CSonar4RecordMessage::CSonar4RecordMessage;

    void SetPingData(const Buffer_Bytes_T* PingData, UINT8 Tag, PingDataType_T Type, PingConfigIndex_T Index)
    {
        GetRecord().SetPingData(PingData, Tag, Type, Index);
    }
};

#endif
