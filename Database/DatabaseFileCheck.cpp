#include "Database/DatabaseFileCheck.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

#include "Database/DatabaseFile.h"
#include "Sonar4/Sonar4Packet.h"
#include "Utilities/IOSSFactory.h"
#include "Utilities/VeskAssert.h"

namespace {

std::string Hex(uint32_t Value)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%X", Value);
    return text;
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
    std::ifstream in(Path, std::ios::binary);
    if (!in) {
        if (errno == ENOTDIR) {
            // The directory check names the variable.
            return false;
        }
        if (errno == ENOENT) {
            Findings.push_back({ConfigFinding_T::NOTE, Path, "missing: created with its defaults at the start"});
        } else {
            Findings.push_back(
                {ConfigFinding_T::PROBLEM, Path, std::string("cannot be read: ") + std::strerror(errno)});
        }
        return false;
    }
    const std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // A short file is removed and recreated by the record itself.
    if (bytes.size() < Record.PacketSize) {
        Findings.push_back({ConfigFinding_T::NOTE, Path,
                            std::to_string(bytes.size()) + " bytes, shorter than its " +
                                std::to_string(Record.PacketSize) + "-byte packet: replaced with defaults"});
        return false;
    }
    const Sonar4HeaderView header{bytes.data()};
    if (header.GetMessageID() != Record.MessageId) {
        Findings.push_back({ConfigFinding_T::PROBLEM, Path,
                            "holds message id " + Hex(header.GetMessageID()) + " instead of " + Hex(Record.MessageId) +
                                ": the task aborts on it",
                            true});
        return true;
    }
    if (!Record.HasSonar4Header) {
        return false;
    }
    if (header.GetMessageSize() != Record.PacketSize) {
        Findings.push_back({ConfigFinding_T::PROBLEM, Path,
                            "size field says " + std::to_string(header.GetMessageSize()) + " instead of " +
                                std::to_string(Record.PacketSize) + ": the task aborts on it",
                            true});
        return true;
    }
    if (header.GetSonar4Version() != SONAR4_VERSION) {
        Findings.push_back({ConfigFinding_T::NOTE, Path,
                            "protocol version " + std::to_string(header.GetSonar4Version()) + " instead of " +
                                std::to_string(SONAR4_VERSION) + ": replaced with defaults"});
    }
    if (Record.Addressed) {
        // The record compares with the unit's serial number as it finds it.
        const char* override = m_pFactory->GetEnv("EMBEDDED_SERIAL_NUMBER_OVERRIDE");
        if (override != nullptr && header.GetSerialNumber() != std::strtoul(override, nullptr, 10)) {
            Findings.push_back({ConfigFinding_T::NOTE, Path,
                                "serial number " + std::to_string(header.GetSerialNumber()) +
                                    " is another unit's: replaced with defaults"});
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
    if (std::remove(path.c_str()) == 0) {
        Findings.push_back({ConfigFinding_T::NOTE, path, "removed (" + found.back().Text + ")"});
    } else {
        Findings.push_back({ConfigFinding_T::PROBLEM, path, std::string("cannot be removed: ") + std::strerror(errno)});
    }
}
