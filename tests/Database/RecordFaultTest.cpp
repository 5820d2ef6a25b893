// Every record operation driven through every failure of the file layer:
// each open, lock, read, write, truncation and link it makes, failed in turn with
// each error a unit meets (a full disk, an interrupted call, a busy file,
// another process holding the file). Whatever fails, the operation answers
// the stated code and events, a file that held a whole record still does,
// and the record works again once the fault is gone.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Database/DatabaseEnvironmentLimitsMessage.h"
#include "Database/DatabaseErrorStatusMessage.h"
#include "Database/DatabaseLocalBottomRecord.h"
#include "Database/DatabaseMasterBottomRecordMessage.h"
#include "Database/DatabaseSystemLimitsMessage.h"
#include "Database/DatabaseSystemSettingsMessage.h"
#include "Sonar4/Sonar4MessageTable.h"
#include "Utilities/LittleEndian.h"
#include "tests/support/Sandbox.h"
#include "tests/support/UnitDouble.h"

namespace {

// One record under test: how to build it, what it can be asked to do, how
// it is made to work again, a whole record's file content, and how to tell
// a whole one. Objects are kept type-erased: records are driven directly,
// and every row of the codec's message table through its message.
struct Subject {
    using Object = std::shared_ptr<void>;
    using Operation = std::function<VeskEventCode_T(void*)>;
    std::string Class;
    std::function<Object(IOSSFactory*)> Make;
    std::function<std::string(void*)> Path;
    std::vector<std::pair<const char*, Operation>> Operations;
    Operation Recover;
    std::string Stored;
    std::function<bool(const std::string&)> IsWhole;
    // False for records whose failed stores are silent successes.
    bool ReportsStoreFailures = true;
    // False for records whose loads read whatever file there is, without
    // looking for a missing one first.
    bool LoadsLookForTheFile = true;
};

// Whole records that differ from Defaults and from each other.
std::string Varied(std::string Defaults, char Flip)
{
    Defaults.back() ^= Flip;
    return Defaults;
}

VeskEventCode_T Hand(ISonar4Message& Message, const std::string* Received)
{
    std::vector<uint8_t> bytes(Message.GetPacketSize() + 16);
    Buffer_Bytes_T buffer(bytes.data(), bytes.size());
    if (Received == nullptr) {
        return Message.CreateMessage(&buffer);
    }
    std::copy(Received->begin(), Received->end(), bytes.begin());
    buffer.size(Received->size());
    return Message.DecodeMessage(&buffer);
}

// A binary record, driven directly: every operation of the record pattern.
template <typename Record>
Subject BinaryRecord(const char* Class)
{
    CUnitDouble factory;
    std::unique_ptr<Record> record(new Record(&factory));
    std::remove(record->GetDBFilePath());
    record->writeDB();
    const std::string defaults = CSandbox::ReadFile(record->GetDBFilePath());
    const std::string incoming = Varied(defaults, char(0xA5));
    const size_t size = defaults.size();
    auto as = [](void* Object) -> Record& { return *static_cast<Record*>(Object); };
    auto message = [as, incoming](void* Object, bool Decode) {
        uint8_t bytes[2048] = {};
        Buffer_Bytes_T buffer(bytes, sizeof(bytes));
        if (!Decode) {
            return as(Object).CreateMessage(&buffer);
        }
        std::copy(incoming.begin(), incoming.end(), bytes);
        buffer.size(incoming.size());
        return as(Object).DecodeMessage(&buffer);
    };
    return {Class,
            [](IOSSFactory* pFactory) { return Subject::Object(new Record(pFactory), [](void* p) { delete static_cast<Record*>(p); }); },
            [as](void* Object) { return std::string(as(Object).GetDBFilePath()); },
            {{"readDB", [as](void* Object) { return as(Object).readDB(); }},
             {"writeDB", [as](void* Object) { return as(Object).writeDB(); }},
             {"CheckForFile", [as](void* Object) { return as(Object).CheckForFile(); }},
             {"CreateMessage", [message](void* Object) { return message(Object, false); }},
             {"DecodeMessage", [message](void* Object) { return message(Object, true); }}},
            [as](void* Object) { return as(Object).writeDB() == SUCCESS ? as(Object).readDB() : FAILED_TO_WRITE_FILE_CONTENTS; },
            Varied(defaults, char(0x5A)),
            [size](const std::string& Content) { return Content.size() == size; }};
}

Subject LocalBottomRecord()
{
    using Record = CDatabaseLocalBottomRecord;
    auto as = [](void* Object) -> Record& { return *static_cast<Record*>(Object); };
    return {"CDatabaseLocalBottomRecord",
            [](IOSSFactory* pFactory) {
                return Subject::Object(new Record(pFactory, "PPT"), [](void* p) { delete static_cast<Record*>(p); });
            },
            [as](void* Object) { return std::string(as(Object).GetDBFilePath()); },
            {{"readDB", [as](void* Object) { return as(Object).readDB(); }},
             {"writeDB", [as](void* Object) { return as(Object).writeDB(); }},
             {"CheckForFile", [as](void* Object) { return as(Object).CheckForFile(); }}},
            [as](void* Object) { return as(Object).writeDB() == SUCCESS ? as(Object).readDB() : FAILED_TO_WRITE_FILE_CONTENTS; },
            "1200\n2\n",
            [](const std::string& Content) { return std::count(Content.begin(), Content.end(), '\n') == 2; }};
}

// A row of the codec's message table built on the shared record rules,
// driven through its message as the codec drives it: a hand-out reads the
// file (recreating a missing one), a received packet is stored. Messages
// are made over the whole set, as a row may refer to the rows before it.
Subject TableRow(const Sonar4MessageRow_T& Row, const Sonar4MessageMap_T& Messages)
{
    const Sonar4MessageRow_T* row = &Row;
    const Sonar4MessageMap_T* messages = &Messages;
    auto make = [row, messages](IOSSFactory* pFactory) {
        ISonar4Message* message = row->Make({pFactory, 0, messages});
        return Subject::Object(message, [](void* p) { delete static_cast<ISonar4Message*>(p); });
    };
    auto as = [](void* Object) -> ISonar4Message& { return *static_cast<ISonar4Message*>(Object); };
    // Its whole record as a received packet of this unit stores it.
    CUnitDouble factory;
    Subject::Object object = make(&factory);
    const size_t size = Row.Record.PacketSize;
    std::string packet(size, '\0');
    LittleEndian::Write<uint32_t>(reinterpret_cast<uint8_t*>(&packet[0]), Row.Id);
    LittleEndian::Write<uint32_t>(reinterpret_cast<uint8_t*>(&packet[4]), static_cast<uint32_t>(size));
    LittleEndian::Write<uint32_t>(reinterpret_cast<uint8_t*>(&packet[8]), SONAR4_VERSION);
    LittleEndian::Write<uint32_t>(reinterpret_cast<uint8_t*>(&packet[12]), 1234);
    Hand(as(object.get()), &packet);
    const std::string path = as(object.get()).GetDBFilePath();
    const std::string defaults = CSandbox::ReadFile(path);
    const std::string incoming = Varied(defaults, char(0xA5));
    // The stored record as a new object leaves it: some records bring
    // fields up to date when they are made (the unit info its address).
    std::ofstream(path, std::ios::binary | std::ios::trunc) << Varied(defaults, char(0x5A));
    object = make(&factory);
    const std::string stored = CSandbox::ReadFile(path);
    return {Row.Record.ClassName,
            make,
            [as](void* Object) { return std::string(as(Object).GetDBFilePath()); },
            {{"CreateMessage", [as](void* Object) { return Hand(as(Object), nullptr); }},
             {"DecodeMessage", [as, incoming](void* Object) { return Hand(as(Object), &incoming); }}},
            [as, incoming](void* Object) {
                const VeskEventCode_T stored = Hand(as(Object), &incoming);
                return stored == SUCCESS ? Hand(as(Object), nullptr) : stored;
            },
            stored,
            [size](const std::string& Content) { return Content.size() == size; },
            std::string(Row.Record.ClassName) != "CDatabaseRecordingStatusMessage",
            std::string(Row.Record.ClassName) != "CDatabaseRecordingStatusMessage"};
}

// Errors a unit's files meet; -140 is another process holding the file.
std::vector<int> ErrorsFor(FileFault_T Fault)
{
    if (Fault == FAULT_SHORT_READ || Fault == FAULT_SHORT_WRITE) {
        return {0};
    }
    return {ENOSPC, EINTR, EAGAIN, FILE_ACCESS_DENIED};
}

// The code a failure is stated to give. An interrupted or short transfer of
// a binary record is completed, and a failed truncation after a whole write
// is no failure: the operation then answers as without the fault.
VeskEventCode_T Expected(FileFault_T Fault, int Error, VeskEventCode_T Unfaulted)
{
    switch (Fault) {
    case FAULT_OPEN:
    case FAULT_LOCK:
    case FAULT_LINK:
        return Error;
    case FAULT_READ:
        return Error == EINTR ? Unfaulted : FAILED_TO_READ_FILE_CONTENTS;
    case FAULT_WRITE:
        return Error == EINTR ? Unfaulted : FAILED_TO_WRITE_FILE_CONTENTS;
    case FAULT_READ_STREAM:
        return FAILED_TO_READ_FILE_CONTENTS;
    case FAULT_WRITE_STREAM:
        return FAILED_TO_WRITE_FILE_CONTENTS;
    default:
        return Unfaulted;
    }
}

class RecordFaultTest : public testing::Test {
protected:
    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }

    // The file as a case starts: a whole record, or none.
    static void Prepare(const std::string& Path, const std::string& Stored)
    {
        std::remove(Path.c_str());
        if (!Stored.empty()) {
            std::ofstream(Path, std::ios::binary) << Stored;
        }
    }
    // A fresh record over that file; one it had to make is taken away
    // again, so that the operation meets no file.
    static Subject::Object Fresh(const Subject& Record, IOSSFactory& Factory, const std::string& Path,
                                 const std::string& Stored)
    {
        Prepare(Path, Stored);
        Subject::Object record = Record.Make(&Factory);
        Prepare(Path, Stored);
        return record;
    }

    // Every failure point of every operation, from a stored record and from
    // no file; the number of cases driven.
    int Drive(const Subject& Record)
    {
        int cases = 0;
        CUnitDouble factory;
        Subject::Object record = Record.Make(&factory);
        const std::string path = Record.Path(record.get());
        for (const std::string& stored : {Record.Stored, std::string()}) {
            for (const auto& [name, run] : Record.Operations) {
                // How the operation ends without faults, and how often it
                // reaches each failure point.
                record = Fresh(Record, factory, path, stored);
                factory.Arm(FAULT_OPEN, 0, 0);
                const VeskEventCode_T unfaulted = run(record.get());
                std::vector<int> calls;
                for (int kind = 0; kind < FAULT_KINDS; ++kind) {
                    calls.push_back(factory.Calls(static_cast<FileFault_T>(kind)));
                }
                for (int kind = 0; kind < FAULT_KINDS; ++kind) {
                    const FileFault_T fault = static_cast<FileFault_T>(kind);
                    for (int nth = 1; nth <= calls[kind]; ++nth) {
                        for (const int error : ErrorsFor(fault)) {
                            SCOPED_TRACE(Record.Class + " " + name + (stored.empty() ? " on no file: " : " on a record: ") +
                                         FileFaultName(fault) + " call " + std::to_string(nth) + " fails with " +
                                         std::to_string(error));
                            ++cases;
                            record = Fresh(Record, factory, path, stored);
                            factory.m_Events.clear();
                            factory.Arm(fault, nth, error);
                            const VeskEventCode_T result = run(record.get());
                            factory.Disarm();
                            EXPECT_TRUE(factory.Fired());
                            // On no file the first open of a load that
                            // looks for its file fails anyway; failing
                            // otherwise ends the same way.
                            const bool missingAnyway =
                                stored.empty() && fault == FAULT_OPEN && nth == 1 && Record.LoadsLookForTheFile &&
                                (std::string(name) == "readDB" || std::string(name) == "CreateMessage");
                            const VeskEventCode_T expected =
                                ((fault == FAULT_WRITE && !Record.ReportsStoreFailures) || missingAnyway)
                                    ? unfaulted
                                    : Expected(fault, error, unfaulted);
                            Check(Record, fault, error, expected, result, factory, path, stored);
                            // And the record works again without the fault.
                            EXPECT_EQ(Record.Recover(record.get()), SUCCESS);
                            EXPECT_TRUE(Record.IsWhole(CSandbox::ReadFile(path)));
                        }
                    }
                }
            }
        }
        return cases;
    }

    static void Check(const Subject& Record, FileFault_T Fault, int Error, VeskEventCode_T Expected,
                      VeskEventCode_T Result, const CUnitDouble& Factory, const std::string& Path,
                      const std::string& Stored)
    {
        EXPECT_EQ(Result, Expected);
        // Failures are reported as errors of this record, with the file's
        // error or the operation's code; a failed open (or link of a new
        // file) is the caller's to report, except where the record itself
        // stores defaults.
        // Notices (replaced values, the time of a heartbeat) may come too.
        for (const auto& event : Factory.m_Events) {
            EXPECT_EQ(event.Where.rfind(Record.Class, 0), 0u) << event.Where;
            if (event.Level != cInfoLevel) {
                EXPECT_EQ(event.Level, cErrorLevel) << event.Why;
                EXPECT_TRUE(event.Code == Error || event.Code == Result) << event.Code << " " << event.Why;
            }
        }
        if (Fault != FAULT_OPEN && Fault != FAULT_LOCK && Fault != FAULT_LINK && Result != SUCCESS &&
            Record.ReportsStoreFailures) {
            EXPECT_FALSE(Factory.m_Events.empty());
        }
        // A whole record is left as it was by a failure, no failure leaves
        // a partial or empty one, and none leaves a temporary file behind.
        const std::string after = CSandbox::ReadFile(Path);
        if (!Stored.empty() && Result != SUCCESS) {
            EXPECT_EQ(after, Stored);
        }
        if (!Stored.empty()) {
            EXPECT_GE(after.size(), Stored.size());
        }
        if (CSandbox::Exists(Path)) {
            EXPECT_TRUE(Record.IsWhole(after)) << after.size();
        }
        const std::string name = Path.substr(Path.rfind('/') + 1);
        for (const auto& entry : std::filesystem::directory_iterator(Path.substr(0, Path.rfind('/')))) {
            EXPECT_NE(entry.path().filename().string().rfind("." + name + ".", 0), 0u) << entry.path();
        }
    }

    CSandbox m_Sandbox;
};

TEST_F(RecordFaultTest, EveryFailurePointOfEveryBinaryRecordKeepsItsFileWhole)
{
    const Subject records[] = {BinaryRecord<CDatabaseEnvironmentLimitsMessage>("CDatabaseEnvironmentLimitsMessage"),
                               BinaryRecord<CDatabaseSystemLimitsMessage>("CDatabaseSystemLimitsMessage"),
                               BinaryRecord<CDatabaseSystemSettingsMessage>("CDatabaseSystemSettingsMessage"),
                               BinaryRecord<CDatabaseMasterBottomRecordMessage>("CDatabaseMasterBottomRecordMessage"),
                               BinaryRecord<CDatabaseErrorStatusMessage>("CDatabaseErrorStatusMessage")};
    for (const Subject& record : records) {
        // Each reaches open, lock, read, write and truncation somewhere.
        EXPECT_GT(Drive(record), 100) << record.Class;
    }
}

TEST_F(RecordFaultTest, EveryFailurePointOfEveryTableRecordKeepsItsFileWhole)
{
    CUnitDouble factory;
    Sonar4MessageMap_T messages;
    MakeSonar4Messages(&factory, messages);
    int rows = 0;
    for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
        if (row.Record.Kind != RECORD_SHARED) {
            continue;
        }
        ++rows;
        EXPECT_GT(Drive(TableRow(row, messages)), 20) << row.Record.ClassName;
    }
    DeleteSonar4Messages(messages);
    EXPECT_GE(rows, 10);
}

TEST_F(RecordFaultTest, EveryFailurePointOfTheLocalBottomRecordKeepsItsFileWhole)
{
    EXPECT_GT(Drive(LocalBottomRecord()), 50);
}

} // namespace
