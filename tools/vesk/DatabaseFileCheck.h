#ifndef TOOLS_VESK_DATABASEFILECHECK_H
#define TOOLS_VESK_DATABASEFILECHECK_H

#include <cstddef>
#include <string>

#include "Sonar4/Sonar4Types.h"
#include "tools/vesk/ConfigFinding.h"

class IOSSFactory;

// What a binary record file must be for its record to load it.
struct RecordFileExpectation_T {
    const char* Name;               // record name, e.g. "MasterBottomRecord"
    const char* FileName;           // e.g. "MasterBottomRecord.bin"
    const char* DirectoryVariable;  // e.g. "NONPERSISTED_DATABASE_ROOT"
    LNET_MESSAGE_ID_T MessageId;
    size_t PacketSize;
    // The packet starts with the usual header (id, size, version, serial);
    // false for the discovery packets, whose files carry only the id.
    bool HasSonar4Header;
    // The serial number must be the unit's.
    bool Addressed;
};

// Looks at record files the way the records load them, without loading
// them: a record aborts the process on a file whose id or size field is
// another record's, cannot load or store anything but a regular file at
// its name (and would store through a link into whatever it points at),
// and quietly replaces a short file or one of another version or unit. The
// check names all of these; the repair moves the ones that stop or break
// the task aside, so that the next start recreates them with their defaults.
class CDatabaseFileCheck {
public:
    explicit CDatabaseFileCheck(IOSSFactory* pFactory);

    // Appends what it finds about the file of Record to Findings.
    void Check(const RecordFileExpectation_T& Record, ConfigFindings_T& Findings);
    // Moves the file aside when it would stop or break the task; appends
    // what it did.
    void Repair(const RecordFileExpectation_T& Record, ConfigFindings_T& Findings);

    // The legacy transducer files, as the transducer enumeration reads them:
    // each kind numbered from 0 until the first name that is no regular
    // file, a short file ending the list, more than the list holds aborting.
    void CheckTransducerFiles(ConfigFindings_T& Findings);

    // The file's full path, or "" when its directory variable is unset.
    std::string PathOf(const RecordFileExpectation_T& Record);

private:
    // Appends the finding the file gives, if any; true when it would stop
    // or break a start.
    bool Inspect(const RecordFileExpectation_T& Record, const std::string& Path, ConfigFindings_T& Findings);
    bool InspectHeader(const RecordFileExpectation_T& Record, const std::string& Path, const uint8_t* Bytes,
                       ConfigFindings_T& Findings);
    // Counts one kind's files (Prefix0.bin, Prefix1.bin, ...) as listed.
    size_t CountTransducerFiles(const std::string& Directory, const std::string& Prefix, size_t Last,
                                ConfigFindings_T& Findings);

    IOSSFactory* m_pFactory;
};

#endif
