// The smallest task on the shared layer, to start a new one from: the
// factory every task owns, one record file, the codec building that record's
// packet, and event reporting. It stores a master bottom in
// "MasterBottomRecord.bin", builds the packet the master bottom task would
// send from that file, prints it and ends. Nothing is sent on the network.
//
// It runs in a unit's environment, as every task does: the record
// directories NONPERSISTED_DATABASE_ROOT, DATABASE_DIR_SYSTEM_DATA and
// DATABASE_DIR_PING_PARAMETERS (the codec creates the records it keeps there
// when they are missing), and the product variables. The codec's service
// info record takes the unit's address from its interfaces: a 10.x address,
// or, for a known product, any private or loopback one.
#include <cstdint>
#include <cstdio>

#include "Database/DatabaseErrorStatusMessage.h"
#include "Database/DatabaseMasterBottomRecordMessage.h"
#include "Sonar4/Sonar4.h"
#include "Utilities/LittleEndian.h"
#include "Utilities/OSSLinuxFactory.h"

namespace {

const char* const cWhere = "FirstTask main()";
const char* const cDirectories[] = {"NONPERSISTED_DATABASE_ROOT", "DATABASE_DIR_SYSTEM_DATA",
                                    "DATABASE_DIR_PING_PARAMETERS"};
constexpr int32_t cDepth = 1234; // centimetres

} // namespace

int main()
{
    // One factory per process, made first: every file, socket, pipe and
    // event goes through it, and everything built on it keeps a pointer.
    COSSLinuxFactory factory;
    factory.SetName("FirstTask");
    // Events that carry an error status change it in this record.
    CDatabaseErrorStatusMessage errorStatus(&factory);
    factory.SetErrorStatusMessage(&errorStatus);

    // Failures are returned as event codes and reported as events, never
    // thrown.
    for (const char* variable : cDirectories) {
        if (factory.GetEnv(variable) == nullptr) {
            factory.SendEvent(cErrorLevel, NO_ENVIRONMENT_VARIABLE_FOUND, cWhere, variable);
            return 1;
        }
    }

    // A record is one packet kept in one file. Constructing it loads the
    // file, or creates it with the record's defaults; setters change the
    // packet in memory and writeDB() stores it.
    CDatabaseMasterBottomRecordMessage masterBottom(&factory);
    masterBottom.SetMasterDepth(cDepth);
    masterBottom.SetOffsetMode(0);
    VeskEventCode_T status = masterBottom.writeDB();
    if (status != SUCCESS) {
        factory.SendEvent(cErrorLevel, status, cWhere, "Failed to store the master bottom record");
        return 1;
    }
    std::printf("stored a master bottom of %d cm in %s\n", static_cast<int>(cDepth), masterBottom.GetDBFilePath());

    // The codec holds a message per id and builds each packet from its
    // record file as it is now, so what any task stored is what goes out.
    CSonar4 codec(&factory);
    uint8_t bytes[CDatabaseMasterBottomRecordMessage::cPacketSize] = {};
    Buffer_Bytes_T packet(bytes, sizeof(bytes));
    status = codec.ConstructMessage(Message_Id_Sonar4_Master_Bottom_Record, &packet, 0);
    if (status != SUCCESS) {
        factory.SendEvent(cErrorLevel, status, cWhere, "Failed to build the master bottom packet");
        return 1;
    }
    std::printf("built packet %#x of %zu bytes:", static_cast<unsigned>(codec.GetMessageID(&packet)),
                codec.GetMessageSize(&packet));
    for (const uint8_t byte : bytes) {
        std::printf(" %02x", byte);
    }
    std::printf("\n");

    // Packets are little-endian on every target.
    const int32_t sent = LittleEndian::Read<int32_t>(bytes + Sonar4MasterBottomRecordPacket::cMasterDepthOffset);
    if (sent != cDepth) {
        factory.SendEvent(cErrorLevel, FAILED_TO_READ_FILE_CONTENTS, cWhere, "The packet holds another depth");
        return 1;
    }
    factory.SendEvent(cInfoLevel, SUCCESS, cWhere, "Master bottom packet built from the record file");
    return 0;
}
