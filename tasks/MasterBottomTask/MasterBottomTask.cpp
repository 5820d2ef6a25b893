#include "tasks/MasterBottomTask/MasterBottomTask.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cstring>
#include <string>

#include "Sonar4/Sonar4.h"
#include "Utilities/CommandPipeDecoder.h"
#include "Utilities/IOSSFactory.h"
#include "Utilities/PidFile.h"
#include "Utilities/PipeReader.h"
#include "Utilities/VeskAssert.h"
#include "tasks/MasterBottomTask/MasterBottomDepth.h"

namespace {

constexpr int cUdpProtocol = 17;

} // namespace

MasterBottomTask::MasterBottomTask(IOSSFactory* pFactory)
    : m_TaskName("MasterBottomTask"),
      m_CommandPipeVariable("IPC_MASTER_BOTTOM_TASK"),
      m_pFactory(pFactory),
      m_Status(SUCCESS),
      m_MasterBottomRecord(pFactory),
      m_SystemSettings(pFactory),
      m_PrimaryLocalBottom(pFactory, pFactory->GetEnv("PRIMARY_PING_TASK_FILE_EXTENSTION")),
      m_SecondaryLocalBottom(pFactory, pFactory->GetEnv("SECONDARY_PING_TASK_FILE_EXTENSTION")),
      m_TransmitBuffer{},
      m_ServiceInfo(pFactory),
      m_DestinationAddress(std::string(m_ServiceInfo.GetOutputIPAddressText()),
                           std::ios_base::in | std::ios_base::out),
      m_DestinationPort(m_ServiceInfo.GetDataPort()),
      m_DestinationAddressText(m_DestinationAddress.str())
{
    // From here on events and acknowledgements carry this task's name.
    m_pFactory->SetName(m_TaskName);

    const char* const commandPipePath = m_pFactory->GetEnv(m_CommandPipeVariable);
    m_pMasterBottomTaskCommandPipe.reset(m_pFactory->CreatePipe(commandPipePath, O_RDWR | O_NONBLOCK));
    VESK_ASSERT(m_pMasterBottomTaskCommandPipe);
    VeskEventCode_T pipeStatus = m_pMasterBottomTaskCommandPipe->GetLastError();
    // Anything but a FIFO at the path (a regular file left by a writer that
    // came before the FIFO, say) always polls readable: the loop would spin
    // and never see "Shutdown". It is refused like a missing pipe.
    struct stat pipeKind {};
    if (pipeStatus == SUCCESS &&
        (fstat(m_pMasterBottomTaskCommandPipe->GetFileDescriptor(), &pipeKind) != 0 || !S_ISFIFO(pipeKind.st_mode))) {
        pipeStatus = PIPE_OPEN_FAILURE;
    }
    if (pipeStatus != SUCCESS) {
        m_pFactory->SendEvent(cErrorLevel, pipeStatus, "MasterBottomTask constructor",
                              (std::string("cannot use command pipe ") + commandPipePath).c_str());
    }
    KeepFirstFailure(pipeStatus);

    if (m_Status == SUCCESS) {
        m_PidFile.reset(new CPidFile(m_pFactory, m_CommandPipeVariable));
        VESK_ASSERT(m_PidFile);
        m_CommandDecoder.reset(new CommandPipeDecoder());
        VESK_ASSERT(m_CommandDecoder);
        m_pPipeReader.reset(new CPipeReader());
        VESK_ASSERT(m_pPipeReader);
        m_Sonar4Object.reset(new CSonar4(m_pFactory));
        VESK_ASSERT(m_Sonar4Object);
    }

    m_pSocket.reset(m_pFactory->CreateNetwork(AF_INET, SOCK_DGRAM, cUdpProtocol, SYSTEM_ADDRESS_TEN_NET));
    VESK_ASSERT(m_pSocket);
    KeepFirstFailure(m_pSocket->GetLastError());
    if (!m_pSocket->EnableTxMulticast()) {
        KeepFirstFailure(m_pSocket->GetLastError());
    }
}

MasterBottomTask::~MasterBottomTask()
{
    // A socket that never opened refuses to be closed (its destructor stops
    // the process) and holds nothing: let it go with the process instead.
    if (m_pSocket && m_pSocket->GetSocket() == -1) {
        (void)m_pSocket.release();
    }
}

void MasterBottomTask::KeepFirstFailure(VeskEventCode_T Status)
{
    if (m_Status == SUCCESS) {
        m_Status = Status;
    }
}

VeskEventCode_T MasterBottomTask::GetStatus()
{
    return m_Status;
}

VeskEventCode_T MasterBottomTask::Start(int /*Argument*/)
{
    static const char* const cWhere = "MasterBottomTask::Start";
    // A task whose construction failed has no reader, decoder or PID file.
    VESK_ASSERT(m_Status == SUCCESS);

    VeskEventCode_T result = SUCCESS;

    m_pFactory->SendEvent(cInfoLevel, SUCCESS, cWhere, "MasterBottomTask starting");
    m_PidFile->WritePidFile();

    while (result == SUCCESS) {
        result = RunTurn(cCommandPollTimeoutMs);
    }

    m_PidFile->RemovePidFile();
    m_pFactory->SendEvent(cInfoLevel, m_LastAnswer, cWhere, "MasterBottomTask Task ending");
    return result;
}

VeskEventCode_T MasterBottomTask::RunTurn(int TimeoutMs)
{
    static const char* const cWhere = "MasterBottomTask::Start";
    VeskEventCode_T result = SUCCESS;
    const int ready = m_pMasterBottomTaskCommandPipe->Poll(POLLIN, TimeoutMs);
    if (ready < 0) {
        m_Status = m_pMasterBottomTaskCommandPipe->GetLastError();
        m_pFactory->SendEvent(cErrorLevel, m_Status, cWhere, "failed to poll command pipe");
    } else if (ready > 0) {
        m_Status = m_pPipeReader->ReadPipeMessage(m_pMasterBottomTaskCommandPipe.get(), &m_Message, '\0');
        if (m_Status != SUCCESS) {
            m_pFactory->SendEvent(cErrorLevel, m_Status, cWhere, "failed to read command pipe");
        } else {
            m_LastAnswer = HandleCommand(reinterpret_cast<const char*>(m_Message.ptr()));
            if (m_LastAnswer != SUCCESS) {
                m_Status = m_LastAnswer;
                if (m_LastAnswer == SHUTDOWN_TASK_REQUEST) {
                    result = m_LastAnswer;
                } else {
                    m_pFactory->SendEvent(cErrorLevel, m_LastAnswer, cWhere, "Command decode Unknown");
                }
            }
        }
        // Also after a failed read: a buffer left at the size of a failed
        // read would make every later message fail one byte at a time.
        m_Message.Reset();
    }
    SetMasterBottomRecord();
    SendMasterBottom();
    return result;
}

VeskEventCode_T MasterBottomTask::HandleCommand(const char* Message)
{
    switch (m_CommandDecoder->DecodeCommand(Message)) {
    case PIPE_COMMAND_SHUTDOWN:
        return SHUTDOWN_TASK_REQUEST;
    case PIPE_COMMAND_ARE_YOU_ALIVE:
        m_pFactory->SendAckToErrorHandler(("ACK_" + m_TaskName).c_str());
        return SUCCESS;
    default:
        // The rest of the command table serves other tasks.
        return PIPE_COMMAND_UNKNOWN;
    }
}

VeskEventCode_T MasterBottomTask::SetMasterBottomRecord()
{
    static const char* const cWhere = "MasterBottomTask::SetMasterBottomRecord";

    // Unreadable sources are only notices: the values last read stand.
    VeskEventCode_T status = m_SystemSettings.readDB();
    if (status != SUCCESS) {
        m_pFactory->SendEvent(cInfoLevel, status, cWhere, "Failed to Read System Settings but so what");
    }
    const int32_t offset = m_SystemSettings.GetDepthOffset();

    status = m_SecondaryLocalBottom.readDB();
    if (status != SUCCESS) {
        m_pFactory->SendEvent(cInfoLevel, status, cWhere, "Failed to Read SPT Local Bottom but so what");
    }
    status = m_PrimaryLocalBottom.readDB();
    if (status != SUCCESS) {
        m_pFactory->SendEvent(cInfoLevel, status, cWhere, "Failed to Read PPT Local Bottom but so what");
    }

    m_MasterBottomRecord.SetOffsetMode(MasterBottomDepth::OffsetMode(offset));
    m_MasterBottomRecord.SetMasterDepth(MasterBottomDepth::Compute(
        m_SecondaryLocalBottom.GetState(), m_SecondaryLocalBottom.GetDepth(), m_PrimaryLocalBottom.GetState(),
        m_PrimaryLocalBottom.GetDepth(), offset));

    status = m_MasterBottomRecord.writeDB();
    // A reader holding the file is no fault: the next turn writes again.
    if (status == SUCCESS || status == FILE_ACCESS_DENIED) {
        return SUCCESS;
    }
    m_pFactory->SendEvent(cErrorLevel, status, cWhere, "Failed to write MasterBottomRecord");
    return status;
}

VeskEventCode_T MasterBottomTask::SendMasterBottom()
{
    Buffer_Bytes_T buffer(m_TransmitBuffer, sizeof(m_TransmitBuffer));
    if (m_Sonar4Object->ConstructMessage(Message_Id_Sonar4_Master_Bottom_Record, &buffer, 0) != SUCCESS) {
        return SUCCESS;
    }
    if (!m_pSocket->Send(&buffer, m_DestinationAddressText.c_str(), static_cast<IP_Port_T>(m_DestinationPort))) {
        // Nothing to do about a lost datagram: the next turn sends again.
        (void)m_pSocket->GetLastError();
    }
    return SUCCESS;
}
