#ifndef TASKS_MASTERBOTTOMTASK_MASTERBOTTOMTASK_H
#define TASKS_MASTERBOTTOMTASK_MASTERBOTTOMTASK_H

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>

#include "Database/DatabaseLocalBottomRecord.h"
#include "Database/DatabaseMasterBottomRecordMessage.h"
#include "Database/DatabaseServiceInfoMessage.h"
#include "Database/DatabaseSystemSettingsMessage.h"
#include "Utilities/ByteBuffer.h"
#include "Utilities/VeskEventCode.h"
#include "tasks/MasterBottomTask/IVesk900Task.h"

class CommandPipeDecoder;
class CPidFile;
class CPipeReader;
class CSonar4;
class IOSSFactory;
class IOSSFile;
class IOSSNetwork;

// Merges the bottoms of the primary and the secondary ping task into the
// master bottom, corrected by the depth offset of the system settings,
// stores it in the master bottom record and multicasts it on every turn of
// its loop. Its command pipe answers "Are You Alive?" and ends on
// "Shutdown".
class MasterBottomTask : public IVesk900Task {
public:
    static constexpr size_t cTransmitBufferSize = 1400;
    static constexpr int cCommandPollTimeoutMs = 20;

    explicit MasterBottomTask(IOSSFactory* pFactory);
    ~MasterBottomTask() override;
    MasterBottomTask(const MasterBottomTask&) = delete;
    MasterBottomTask& operator=(const MasterBottomTask&) = delete;

    VeskEventCode_T Start(int Argument) override;
    VeskEventCode_T GetStatus() override;

    // One turn of the loop: waits up to TimeoutMs for a command and acts on
    // it, then recomputes, stores and broadcasts the master bottom. 0, or
    // -135 once "Shutdown" was read. Needs a task whose construction
    // succeeded.
    VeskEventCode_T RunTurn(int TimeoutMs);
    // Recomputes and stores the master bottom record.
    VeskEventCode_T SetMasterBottomRecord();
    // Builds the master bottom message from the record file and sends it.
    VeskEventCode_T SendMasterBottom();
    // Acts on one received command: 0, -135 (shut down) or -127 (unknown).
    VeskEventCode_T HandleCommand(const char* Message);

private:
    // A status keeps the first failure of construction: a task whose
    // command pipe did not open must not start.
    void KeepFirstFailure(VeskEventCode_T Status);

    std::unique_ptr<IOSSFile> m_pMasterBottomTaskCommandPipe;
    const std::string m_TaskName;
    const char* const m_CommandPipeVariable;
    IOSSFactory* const m_pFactory;
    VeskEventCode_T m_Status;
    std::unique_ptr<CPidFile> m_PidFile;
    std::unique_ptr<CommandPipeDecoder> m_CommandDecoder;
    std::unique_ptr<CPipeReader> m_pPipeReader;
    CDatabaseMasterBottomRecordMessage m_MasterBottomRecord;
    CDatabaseSystemSettingsMessage m_SystemSettings;
    CDatabaseLocalBottomRecord m_PrimaryLocalBottom;
    CDatabaseLocalBottomRecord m_SecondaryLocalBottom;
    uint8_t m_TransmitBuffer[cTransmitBufferSize];
    std::unique_ptr<CSonar4> m_Sonar4Object;
    std::unique_ptr<IOSSNetwork> m_pSocket;
    CDatabaseServiceInfoMessage m_ServiceInfo;
    std::stringstream m_DestinationAddress;
    uint32_t m_DestinationPort;
    // The stream's text, taken once: nothing writes the stream after
    // construction, and a send should not copy it every turn.
    const std::string m_DestinationAddressText;
    // The command buffer and the last answer given, kept from turn to turn.
    Pipe_Buffer_T m_Message;
    VeskEventCode_T m_LastAnswer = SUCCESS;
};

#endif
