#include "tools/vesk/DatabaseFileCheck.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Database/DatabaseFile.h"
#include "Database/DatabaseTransducerIdMessage.h"
#include "Sonar4/Sonar4Packet.h"
#include "Utilities/IOSSFactory.h"
#include "Utilities/VeskAssert.h"
#include "tools/vesk/ToolFile.h"

namespace {

// What the legacy transducer enumeration lists, and how far it counts.
constexpr size_t cListedTransducers = 35;
constexpr size_t cLastDepthFile = 253;
constexpr size_t cLastSpeedFile = 252;
constexpr const char* cTestTransducerPrefix = "TestTransducerId";
constexpr size_t cTransducerFileSize = CDatabaseTransducerIdMessage::cTransducerIdSize;

std::string Hex(uint32_t Value)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%X", Value);
    return text;
}

ConfigFinding_T Problem(const std::string& Subject, const std::string& Text, bool Repairable = false)
{
    return {ConfigFinding_T::PROBLEM, Subject, Text, Repairable};
}

ConfigFinding_T Note(const std::string& Subject, const std::string& Text)
{
    return {ConfigFinding_T::NOTE, Subject, Text};
}

// What a record does with a name that holds no regular file: it takes the
// name for missing, loads nothing through it and stores into whatever it is.
std::string NotARecordFile(const CToolFile::Look_T& Look)
{
    switch (Look.Kind) {
    case CToolFile::DIRECTORY:
        return "is a directory: the task can neither load nor store the record there";
    case CToolFile::FIFO:
        return "is a FIFO: the task reads nothing from it and cannot store the record";
    case CToolFile::SYMLINK:
        return "is " + CToolFile::Describe(Look) +
               ": the task never loads a record through a link, and its stores would write into the target";
    case CToolFile::DEVICE:
        return "is a device: the task would read whatever it gives (aborting on a wrong id) and store into it";
    case CToolFile::SOCKET:
        return "is a socket: the task can neither load nor store the record";
    default:
        return CToolFile::Describe(Look);
    }
}

} // namespace

CDatabaseFileCheck::CDatabaseFileCheck(IOSSFactory* pFactory) : m_pFactory(pFactory)
{
    VESK_ASSERT(pFactory);
}

std::string CDatabaseFileCheck::PathOf(const RecordFileExpectation_T& Record)
{
    const char* directory = m_pFactory->GetEnv(Record.DirectoryVariable);
    return directory != nullptr ? std::string(directory) + "/" + Record.FileName : std::string();
}

bool CDatabaseFileCheck::Inspect(const RecordFileExpectation_T& Record, const std::string& Path,
                                 ConfigFindings_T& Findings)
{
    const CToolFile::Look_T look = CToolFile::Read(Path, Record.PacketSize);
    switch (look.Kind) {
    case CToolFile::REGULAR:
        break;
    case CToolFile::MISSING:
        Findings.push_back(Note(Path, "missing: created with its defaults at the start"));
        return false;
    case CToolFile::UNUSABLE:
        // A path through a file: the directory check names the variable.
        if (look.Error != ENOTDIR) {
            Findings.push_back(Problem(Path, std::string("cannot be read: ") + std::strerror(look.Error)));
        }
        return false;
    default:
        Findings.push_back(Problem(Path, NotARecordFile(look), true));
        return true;
    }
    if (look.Bytes.size() < Record.PacketSize) {
        // The record removes a short file and recreates it.
        Findings.push_back(Note(Path, std::to_string(look.Bytes.size()) + " bytes, shorter than its " +
                                          std::to_string(Record.PacketSize) + "-byte packet: replaced with defaults"));
        return false;
    }
    if (look.Bytes.size() > Record.PacketSize) {
        Findings.push_back(Note(Path, "too large: " + std::to_string(look.Size) + " bytes, longer than its " +
                                          std::to_string(Record.PacketSize) + "-byte packet: the task reads the first " +
                                          std::to_string(Record.PacketSize) + " and its next store cuts the rest"));
    }
    return InspectHeader(Record, Path, look.Bytes.data(), Findings);
}

bool CDatabaseFileCheck::InspectHeader(const RecordFileExpectation_T& Record, const std::string& Path,
                                       const uint8_t* Bytes, ConfigFindings_T& Findings)
{
    const Sonar4HeaderView header{Bytes};
    if (header.GetMessageID() != Record.MessageId) {
        Findings.push_back(Problem(Path,
                                   "holds message id " + Hex(header.GetMessageID()) + " instead of " +
                                       Hex(Record.MessageId) + ": the task aborts on it",
                                   true));
        return true;
    }
    if (!Record.HasSonar4Header) {
        return false;
    }
    if (header.GetMessageSize() != Record.PacketSize) {
        Findings.push_back(Problem(Path,
                                   "size field says " + std::to_string(header.GetMessageSize()) + " instead of " +
                                       std::to_string(Record.PacketSize) + ": the task aborts on it",
                                   true));
        return true;
    }
    if (header.GetSonar4Version() != SONAR4_VERSION) {
        Findings.push_back(Note(Path, "protocol version " + std::to_string(header.GetSonar4Version()) +
                                          " instead of " + std::to_string(SONAR4_VERSION) + ": replaced with defaults"));
    }
    if (Record.Addressed) {
        // The record compares with the unit's serial number as it finds it.
        const char* override = m_pFactory->GetEnv("EMBEDDED_SERIAL_NUMBER_OVERRIDE");
        if (override != nullptr && header.GetSerialNumber() != std::strtoul(override, nullptr, 10)) {
            Findings.push_back(Note(Path, "serial number " + std::to_string(header.GetSerialNumber()) +
                                              " is another unit's: replaced with defaults"));
        }
    }
    return false;
}

void CDatabaseFileCheck::Check(const RecordFileExpectation_T& Record, ConfigFindings_T& Findings)
{
    const std::string path = PathOf(Record);
    if (path.empty()) {
        // The environment check names the unset variable.
        return;
    }
    Inspect(Record, path, Findings);
}

void CDatabaseFileCheck::Repair(const RecordFileExpectation_T& Record, ConfigFindings_T& Findings)
{
    const std::string path = PathOf(Record);
    ConfigFindings_T found;
    if (path.empty() || !Inspect(Record, path, found)) {
        return;
    }
    // Kept, never deleted: what was there may be the only evidence of what
    // damaged the unit.
    const std::string aside = CToolFile::MoveAside(path);
    if (!aside.empty()) {
        Findings.push_back(Note(path, "moved to " + aside + " (" + found.back().Text + ")"));
    } else {
        Findings.push_back(Problem(path, std::string("cannot be moved aside: ") + std::strerror(errno)));
    }
}

size_t CDatabaseFileCheck::CountTransducerFiles(const std::string& Directory, const std::string& Prefix, size_t Last,
                                                ConfigFindings_T& Findings)
{
    size_t index = 0;
    for (; index <= Last; ++index) {
        const std::string name = Prefix + std::to_string(index) + ".bin";
        const std::string path = Directory + "/" + name;
        if (name.size() > MAX_DATABASE_PATH_LENGTH || Directory.size() + 1 > MAX_DATABASE_PATH_LENGTH ||
            path.size() > MAX_DATABASE_PATH_LENGTH) {
            Findings.push_back(Problem(path, "is longer than " + std::to_string(MAX_DATABASE_PATH_LENGTH) +
                                                 " characters: the transducer enumeration aborts on it"));
            break;
        }
        const CToolFile::Look_T look = CToolFile::Read(path, cTransducerFileSize);
        if (look.Kind == CToolFile::MISSING) {
            break;
        }
        if (look.Kind != CToolFile::REGULAR) {
            Findings.push_back(Problem(path, CToolFile::Describe(look) +
                                                 ": the transducer list ends before it and the files after it"));
            break;
        }
        if (look.Bytes.size() < cTransducerFileSize) {
            Findings.push_back(Problem(path, std::to_string(look.Bytes.size()) + " bytes, shorter than " +
                                                 std::to_string(cTransducerFileSize) +
                                                 ": the transducer list ends before it and the files after it"));
            break;
        }
    }
    return index;
}

void CDatabaseFileCheck::CheckTransducerFiles(ConfigFindings_T& Findings)
{
    const char* directory = m_pFactory->GetEnv("SUPPORTED_TRANSDUCER_DIR");
    if (directory == nullptr || *directory == '\0') {
        Findings.push_back(Note("SUPPORTED_TRANSDUCER_DIR", "is not set: no legacy transducers are offered"));
        return;
    }
    // The enumeration looks only at the files' own names, so a link to
    // the directory serves as well as the directory.
    struct stat st {};
    if (stat(directory, &st) != 0 || !S_ISDIR(st.st_mode)) {
        Findings.push_back(Problem(std::string("SUPPORTED_TRANSDUCER_DIR=") + directory,
                                   "is no directory: no legacy transducers are offered"));
        return;
    }
    const char* depth = m_pFactory->GetEnv("TRANSDUCER_ID_FILE_PREFIX");
    if (depth == nullptr || *depth == '\0') {
        Findings.push_back(Problem("TRANSDUCER_ID_FILE_PREFIX",
                                   "is not set: a transducer identification record aborts on it"));
        return;
    }
    const char* speed = m_pFactory->GetEnv("SPEED_TRANSDUCER_ID_FILE_PREFIX");
    if (speed == nullptr) {
        Findings.push_back(Note("SPEED_TRANSDUCER_ID_FILE_PREFIX", "is not set: speed transducers are looked for "
                                                                    "as bare numbers (0.bin, 1.bin, ...)"));
    }
    const size_t listed = CountTransducerFiles(directory, depth, cLastDepthFile, Findings) +
                          CountTransducerFiles(directory, speed != nullptr ? speed : "", cLastSpeedFile, Findings) +
                          CountTransducerFiles(directory, cTestTransducerPrefix, cLastDepthFile, Findings);
    if (listed > cListedTransducers) {
        Findings.push_back(Problem(directory, std::to_string(listed) + " legacy transducer files: the list holds " +
                                                  std::to_string(cListedTransducers) +
                                                  ", the enumeration aborts at the next"));
    } else {
        Findings.push_back(Note(directory, std::to_string(listed) + " legacy transducer files are offered"));
    }
}
