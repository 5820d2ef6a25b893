#include "tools/vesk/UnitConfigCheck.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "Utilities/DottedQuad.h"
#include "Utilities/IOSSFactory.h"
#include "Utilities/ProductFamily.h"
#include "Utilities/VeskAssert.h"
#include "tools/vesk/TaskPidFiles.h"

namespace {

constexpr const char* cTaskPipe = "IPC_MASTER_BOTTOM_TASK";
// The record file path (directory, "/", longest file name) must stay
// within the records' limit of 256 characters.
constexpr size_t cLongestDirectory = 256 - 1 - sizeof("LocalBottomState.txt") - 16;
// The service info record publishes the root directory in a 512-byte field.
constexpr size_t cLongestRootDir = 511;

ConfigFinding_T Problem(const std::string& Subject, const std::string& Text, bool Repairable = false)
{
    return {ConfigFinding_T::PROBLEM, Subject, Text, Repairable};
}

ConfigFinding_T Note(const std::string& Subject, const std::string& Text)
{
    return {ConfigFinding_T::NOTE, Subject, Text, false};
}

std::string Describe(const char* Variable, const char* Value)
{
    return std::string(Variable) + "=" + Value;
}

} // namespace

CUnitConfigCheck::CUnitConfigCheck(IOSSFactory* pFactory) : m_pFactory(pFactory)
{
    VESK_ASSERT(pFactory);
}

const char* CUnitConfigCheck::Required(const char* Variable, ConfigFindings_T& Findings)
{
    const char* value = m_pFactory->GetEnv(Variable);
    if (value == nullptr || *value == '\0') {
        ConfigFinding_T unset = Problem(Variable, value == nullptr ? "is not set" : "is empty");
        unset.Unset = true;
        Findings.push_back(unset);
        return nullptr;
    }
    return value;
}

void CUnitConfigCheck::CheckDirectory(const char* Variable, ConfigFindings_T& Findings)
{
    const char* path = Required(Variable, Findings);
    if (path == nullptr) {
        return;
    }
    struct stat st {};
    if (path[0] != '/') {
        Findings.push_back(Problem(Describe(Variable, path), "is not an absolute path"));
    } else if (std::strlen(path) > cLongestDirectory) {
        Findings.push_back(Problem(Describe(Variable, path), "is too long for a record file path"));
    } else if (stat(path, &st) != 0) {
        Findings.push_back(Problem(Describe(Variable, path), std::string("cannot be used: ") + std::strerror(errno)));
    } else if (!S_ISDIR(st.st_mode)) {
        Findings.push_back(Problem(Describe(Variable, path), "is not a directory"));
    } else if (access(path, W_OK | X_OK) != 0) {
        Findings.push_back(Problem(Describe(Variable, path), "is not writable by this user"));
    }
}

void CUnitConfigCheck::CheckFifo(const char* Variable, ConfigFindings_T& Findings)
{
    const char* path = Required(Variable, Findings);
    if (path == nullptr) {
        return;
    }
    struct stat st {};
    if (stat(path, &st) != 0) {
        Findings.push_back(Problem(Describe(Variable, path), std::string("cannot be used: ") + std::strerror(errno)));
    } else if (!S_ISFIFO(st.st_mode)) {
        Findings.push_back(Problem(Describe(Variable, path), "is not a FIFO"));
    } else if (access(path, R_OK | W_OK) != 0) {
        Findings.push_back(Problem(Describe(Variable, path), "is not readable and writable by this user"));
    }
}

void CUnitConfigCheck::CheckNumber(const char* Variable, long Minimum, long Maximum, ConfigFindings_T& Findings)
{
    const char* text = m_pFactory->GetEnv(Variable);
    if (text == nullptr) {
        return;
    }
    // The task reads the leading digits and ignores the rest; anything but
    // a plain number is a typing error worth naming.
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || errno != 0) {
        Findings.push_back(Problem(Describe(Variable, text), "is not a decimal number"));
    } else if (value < Minimum || value > Maximum) {
        Findings.push_back(Problem(Describe(Variable, text), "is outside " + std::to_string(Minimum) + ".." +
                                                                std::to_string(Maximum)));
    }
}

void CUnitConfigCheck::CheckExtension(const char* Variable, ConfigFindings_T& Findings)
{
    const char* extension = Required(Variable, Findings);
    if (extension != nullptr && std::strchr(extension, '/') != nullptr) {
        Findings.push_back(Problem(Describe(Variable, extension), "must not contain '/'"));
    }
}

void CUnitConfigCheck::CheckProduct(ConfigFindings_T& Findings)
{
    if (Required("PRODUCT_ID", Findings) == nullptr) {
        return;
    }
    for (size_t i = 0; const char* variable = GetProductModelVariable(i); ++i) {
        if (m_pFactory->GetEnv(variable) == nullptr) {
            Findings.push_back(Note(variable, "is not set: the product lookup skips this model"));
        }
    }
    if (GetProductFamily(m_pFactory) != cProductFamilyMasterBottom) {
        Findings.push_back(Problem("PRODUCT_ID", "is not a product of family 9: the task exits without running"));
    }
}

void CUnitConfigCheck::CheckInterface(ConfigFindings_T& Findings)
{
    // The task multicasts from the interface the socket layer picks for
    // the "10." network; without one, its construction fails.
    const std::unique_ptr<IOSSNetwork> socket(
        m_pFactory->CreateNetwork(AF_INET, SOCK_DGRAM, 17, SYSTEM_ADDRESS_TEN_NET));
    AUINT32 address = 0;
    if (!socket || socket->GetLastError() != 0 || !socket->GetSystemIPAddress(&address)) {
        Findings.push_back(Problem("network", "no interface has a 10.x.x.x address to send the master bottom from"));
        return;
    }
    Findings.push_back(Note("network", "sends from " + DottedQuad(ntohl(address))));
}

void CUnitConfigCheck::CheckEnvironment(ConfigFindings_T& Findings)
{
    CheckProduct(Findings);
    CheckFifo(cTaskPipe, Findings);
    CheckFifo("IPC_ERROR_HANDLER_TASK", Findings);
    CheckFifo("IPC_LED_TASK", Findings);
    CheckDirectory("PID_LOCATION", Findings);
    CheckDirectory("NONPERSISTED_DATABASE_ROOT", Findings);
    CheckDirectory("DATABASE_DIR_SYSTEM_DATA", Findings);
    CheckDirectory("DATABASE_DIR_PING_PARAMETERS", Findings);
    CheckExtension("PRIMARY_PING_TASK_FILE_EXTENSTION", Findings);
    CheckExtension("SECONDARY_PING_TASK_FILE_EXTENSTION", Findings);
    const char* primary = m_pFactory->GetEnv("PRIMARY_PING_TASK_FILE_EXTENSTION");
    const char* secondary = m_pFactory->GetEnv("SECONDARY_PING_TASK_FILE_EXTENSTION");
    if (primary != nullptr && secondary != nullptr && *primary != '\0' && std::strcmp(primary, secondary) == 0) {
        Findings.push_back(Problem("SECONDARY_PING_TASK_FILE_EXTENSTION",
                                   "equals the primary's: both ping tasks would share one file"));
    }
    if (const char* root = Required("ROOT_DIR", Findings)) {
        if (std::strlen(root) > cLongestRootDir) {
            Findings.push_back(Problem(Describe("ROOT_DIR", root), "is longer than 511 characters"));
        }
    }
    if (m_pFactory->GetEnv("EMBEDDED_SERIAL_NUMBER_OVERRIDE") == nullptr) {
        Findings.push_back(Note("EMBEDDED_SERIAL_NUMBER_OVERRIDE", "is not set: the device's serial number is used"));
    }
    CheckNumber("EMBEDDED_SERIAL_NUMBER_OVERRIDE", 1, 0xFFFFFFFFL, Findings);
    CheckNumber("CONTROL_PORT_OVERRIDE", 1, 65535, Findings);
    CheckNumber("DATA_PORT_OVERRIDE", 1, 65535, Findings);
    CheckNumber("MAX_ALLOWED_DEPTH_IN_CM", 1, 0x7FFFFFFFL, Findings);
    CheckInterface(Findings);
}

void CUnitConfigCheck::CheckInstances(ConfigFindings_T& Findings)
{
    const char* directory = m_pFactory->GetEnv("PID_LOCATION");
    if (directory == nullptr) {
        return;
    }
    for (const CTaskPidFiles::Entry_T& entry : CTaskPidFiles::Find(directory, cTaskPipe)) {
        if (entry.IsTask) {
            Findings.push_back(
                Problem(entry.Path, "the task already runs as process " + std::to_string(entry.Pid)));
        } else {
            // Harmless to a start (the task writes a file of its own pid),
            // but it misleads whoever looks for the running task, and a
            // number reused by another process would pass for the task.
            Findings.push_back({ConfigFinding_T::NOTE, entry.Path,
                                "stale PID file: process " + std::to_string(entry.Pid) +
                                    (entry.Exists ? " is not the task" : " no longer runs"),
                                true});
        }
    }
}

ConfigFindings_T CUnitConfigCheck::RemoveStalePidFiles()
{
    ConfigFindings_T done;
    if (const char* directory = m_pFactory->GetEnv("PID_LOCATION")) {
        for (const std::string& path : CTaskPidFiles::RemoveStale(directory, cTaskPipe)) {
            done.push_back(Note(path, "removed: stale PID file (its process is not the task)"));
        }
    }
    return done;
}
