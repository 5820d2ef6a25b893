// Every record operation driven through every failure of the file layer:
// each open, lock, read, write and truncation it makes, failed in turn with
// each error a unit meets (a full disk, an interrupted call, a busy file,
// another process holding the file). Whatever fails, the operation answers
// the stated code and events, a file that held a whole record still does,
// and the record works again once the fault is gone.
#include <algorithm>
#include <cerrno>
#include <cstdio>
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
#include "tests/support/FaultyFactory.h"
#include "tests/support/Sandbox.h"

namespace {

// One record under test: how to build it, what it can be asked to do, a
// whole record's file content, and how to tell a whole one.
struct Subject {
    std::string Class;
    std::function<CDatabaseFile*(IOSSFactory*)> Make;
    std::vector<std::pair<const char*, std::function<VeskEventCode_T(CDatabaseFile&)>>> Operations;
    std::string Stored;
    std::function<bool(const std::string&)> IsWhole;
};

// A binary record: every operation of the record pattern. Its file content
// is learnt from a fresh file; the stored and received packets differ from
// the defaults and from each other in their last byte.
template <typename Record>
Subject BinaryRecord(const char* Class)
{
    CFaultyFactory factory;
    std::unique_ptr<Record> record(new Record(&factory));
    std::remove(record->GetDBFilePath());
    record->writeDB();
    std::string defaults = CSandbox::ReadFile(record->GetDBFilePath());
    std::string stored = defaults;
    stored.back() ^= 0x5A;
    std::string incoming = defaults;
    incoming.back() ^= 0xA5;
    const size_t size = defaults.size();

    auto as = [](CDatabaseFile& File) -> CDatabaseRecord& { return static_cast<CDatabaseRecord&>(File); };
    auto message = [as, incoming](CDatabaseFile& File, bool Decode) {
        uint8_t bytes[2048] = {};
        Buffer_Bytes_T buffer(bytes, sizeof(bytes));
        if (!Decode) {
            return as(File).CreateMessage(&buffer);
        }
        std::copy(incoming.begin(), incoming.end(), bytes);
        buffer.size(incoming.size());
        return as(File).DecodeMessage(&buffer);
    };
    return {Class,
            [](IOSSFactory* pFactory) { return new Record(pFactory); },
            {{"readDB", [](CDatabaseFile& File) { return File.readDB(); }},
             {"writeDB", [](CDatabaseFile& File) { return File.writeDB(); }},
             {"CheckForFile", [](CDatabaseFile& File) { return File.CheckForFile(); }},
             {"CreateMessage", [message](CDatabaseFile& File) { return message(File, false); }},
             {"DecodeMessage", [message](CDatabaseFile& File) { return message(File, true); }}},
            stored,
            [size](const std::string& Content) { return Content.size() == size; }};
}

Subject LocalBottomRecord()
{
    return {"CDatabaseLocalBottomRecord",
            [](IOSSFactory* pFactory) { return new CDatabaseLocalBottomRecord(pFactory, "PPT"); },
            {{"readDB", [](CDatabaseFile& File) { return File.readDB(); }},
             {"writeDB", [](CDatabaseFile& File) { return File.writeDB(); }},
             {"CheckForFile", [](CDatabaseFile& File) { return File.CheckForFile(); }}},
            "1200\n2\n",
            [](const std::string& Content) { return std::count(Content.begin(), Content.end(), '\n') == 2; }};
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
            FILE* file = std::fopen(Path.c_str(), "wb");
            ASSERT_NE(file, nullptr);
            std::fwrite(Stored.data(), 1, Stored.size(), file);
            std::fclose(file);
        }
    }

    // Every failure point of every operation, from a stored record and from
    // no file; the number of cases driven.
    int Drive(const Subject& Record)
    {
        int cases = 0;
        CFaultyFactory factory;
        std::unique_ptr<CDatabaseFile> record(Record.Make(&factory));
        const std::string path = record->GetDBFilePath();
        for (const std::string& stored : {Record.Stored, std::string()}) {
            for (const auto& [name, run] : Record.Operations) {
                // How the operation ends without faults, and how often it
                // reaches each failure point.
                Prepare(path, stored);
                record.reset(Record.Make(&factory));
                factory.Arm(FAULT_OPEN, 0, 0);
                const VeskEventCode_T unfaulted = run(*record);
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
                            Prepare(path, stored);
                            record.reset(Record.Make(&factory));
                            factory.m_Events.clear();
                            factory.Arm(fault, nth, error);
                            const VeskEventCode_T result = run(*record);
                            factory.Disarm();
                            EXPECT_TRUE(factory.Fired());
                            Check(Record, fault, error, Expected(fault, error, unfaulted), result, factory, path,
                                  stored);
                            // And the record works again without the fault.
                            EXPECT_EQ(record->writeDB(), SUCCESS);
                            EXPECT_EQ(record->readDB(), SUCCESS);
                            EXPECT_TRUE(Record.IsWhole(CSandbox::ReadFile(path)));
                        }
                    }
                }
            }
        }
        return cases;
    }

    static void Check(const Subject& Record, FileFault_T Fault, int Error, VeskEventCode_T Expected,
                      VeskEventCode_T Result, const CFaultyFactory& Factory, const std::string& Path,
                      const std::string& Stored)
    {
        EXPECT_EQ(Result, Expected);
        // Failures are reported as errors of this record, with the file's
        // error or the operation's code; a failed open is the caller's to
        // report, except where the record itself stores defaults.
        for (const auto& event : Factory.m_Events) {
            EXPECT_EQ(event.Where.rfind(Record.Class, 0), 0u) << event.Where;
            if (Result != SUCCESS) {
                EXPECT_EQ(event.Level, 3) << event.Why;
                EXPECT_TRUE(event.Code == Error || event.Code == Result) << event.Code << " " << event.Why;
            }
        }
        if (Fault != FAULT_OPEN && Fault != FAULT_LOCK && Result != SUCCESS) {
            EXPECT_FALSE(Factory.m_Events.empty());
        }
        // A whole record is left as it was by a failure, and no failure
        // leaves a partial one; only a refused lock may leave the empty
        // file its open created.
        const std::string after = CSandbox::ReadFile(Path);
        if (!Stored.empty() && Result != SUCCESS) {
            EXPECT_EQ(after, Stored);
        }
        if (!Stored.empty()) {
            EXPECT_GE(after.size(), Stored.size());
        }
        if (CSandbox::Exists(Path)) {
            EXPECT_TRUE(Record.IsWhole(after) || (Fault == FAULT_LOCK && after.empty())) << after.size();
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

TEST_F(RecordFaultTest, EveryFailurePointOfTheLocalBottomRecordKeepsItsFileWhole)
{
    EXPECT_GT(Drive(LocalBottomRecord()), 50);
}

} // namespace
