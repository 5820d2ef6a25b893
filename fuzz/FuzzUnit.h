#ifndef FUZZ_FUZZUNIT_H
#define FUZZ_FUZZUNIT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Sonar4/Sonar4MessageTable.h"
#include "Utilities/IOSSFactory.h"

// The unit a fuzzer's records live in: a temporary directory holding the
// database directories and the task pipes, with the environment a unit has
// pointing into it. Made once per process and removed when the process
// exits.
namespace FuzzUnit {

// Creates the directory and sets the environment; safe to call again.
void Prepare();

// Path of Name inside the unit directory.
std::string PathOf(const std::string& Name);

// The unit double, dropping events and datagrams: reports of rejected
// input are expected by the thousand and would only slow the fuzzer down
// and bury its own output. Its shell commands are done in this process and
// its network gives the unit its 10.0.0.2 without an interface.
IOSSFactory* Factory();

// Writes Size bytes to Path, replacing it; aborts when that fails.
void WriteFile(const std::string& Path, const void* Data, size_t Size);

// A copy of the input whose first four bytes, when it has them, carry Id:
// a packet of another id handed to a record is the caller's error, a
// deliberate stop, and not worth the fuzzer's time.
std::vector<uint8_t> WithMessageId(const uint8_t* Data, size_t Size, uint32_t Id);

// One message of the codec's message table and its row.
struct FuzzedRecord {
    const Sonar4MessageRow_T* Row;
    ISonar4Message* Message;
};

// The first object of every row whose record follows the shared record
// rules, made once as the codec makes them (the unit info record takes the
// service info address from the double's network) and released at exit,
// so that leak checking stays meaningful.
const std::vector<FuzzedRecord>& SharedRecords();

// Ends the run as a crash when a property the product promises is broken.
void Require(bool Holds, const char* What);

} // namespace FuzzUnit

#endif
