#ifndef DATABASE_DATABASERECORDINGSTATUSMESSAGE_H
#define DATABASE_DATABASERECORDINGSTATUSMESSAGE_H

#include "Database/DatabaseRecord.h"

// The recording status the unit publishes, stored and forwarded whole.
struct Sonar4RecordingStatusPacket : Sonar4Packet<85> {
    static constexpr size_t cStatusSize = 6;
    static constexpr auto cFields = Sonar4Fields({
        {"status", 16, FIELD_BYTES, cStatusSize, ""},
        {"details", 16 + cStatusSize, FIELD_BYTES, 85 - 16 - cStatusSize, ""},
    });
};

// Published often and read by others at their own pace, so it fails
// quietly: construction reports nothing, a failed or short store is neither
// reported nor returned (only a file that cannot be opened is), a load does
// not recreate a missing file, and CheckForFile on a missing file only
// resets the status bytes in memory; the file appears at the next store.
class CDatabaseRecordingStatusMessage : public CDatabaseRecordOf<Sonar4RecordingStatusPacket> {
public:
    static const DatabaseRecordDescription_T cDescription;

    explicit CDatabaseRecordingStatusMessage(IOSSFactory* pFactory);
};

#endif
