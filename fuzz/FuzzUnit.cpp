#include "fuzz/FuzzUnit.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "Utilities/LittleEndian.h"
#include "tests/support/Sandbox.h"
#include "tests/support/UnitDouble.h"

namespace {

// Destroyed at exit, which removes the directory.
CSandbox& Unit()
{
    static CSandbox unit;
    return unit;
}

void Fail(const std::string& What)
{
    std::fprintf(stderr, "fuzz unit: %s\n", What.c_str());
    std::abort();
}

} // namespace

namespace FuzzUnit {

void Prepare()
{
    static const bool prepared = [] {
        Unit().SetUnitEnvironment();
        // The defaults a unit has without overrides.
        for (const char* variable :
             {"PRODUCT_ID", "CONTROL_PORT_OVERRIDE", "DATA_PORT_OVERRIDE", "MAX_ALLOWED_DEPTH_IN_CM"}) {
            Unit().SetEnv(variable, nullptr);
        }
        return true;
    }();
    (void)prepared;
}

std::string PathOf(const std::string& Name)
{
    return Unit() / Name;
}

IOSSFactory* Factory()
{
    static CUnitDouble factory;
    // Rejected input is reported by the thousand; its datagrams are of no use.
    factory.m_KeepEvents = false;
    factory.m_Net.KeepSent = false;
    return &factory;
}

void WriteFile(const std::string& Path, const void* Data, size_t Size)
{
    std::ofstream out(Path, std::ios::binary | std::ios::trunc);
    out.write(static_cast<const char*>(Data), static_cast<std::streamsize>(Size));
    if (!out) {
        Fail("cannot write " + Path);
    }
}

std::vector<uint8_t> WithMessageId(const uint8_t* Data, size_t Size, uint32_t Id)
{
    // Never empty: an empty input is still handed over as a real pointer.
    std::vector<uint8_t> bytes(Size == 0 ? 1 : Size);
    std::copy(Data, Data + Size, bytes.begin());
    if (Size >= sizeof(Id)) {
        LittleEndian::Write<uint32_t>(bytes.data(), Id);
    }
    return bytes;
}

namespace {

struct OwnedMessages {
    Sonar4MessageMap_T Map;
    ~OwnedMessages() { DeleteSonar4Messages(Map); }
};

} // namespace

const std::vector<FuzzedRecord>& SharedRecords()
{
    static OwnedMessages messages;
    static const std::vector<FuzzedRecord> records = [] {
        MakeSonar4Messages(Factory(), messages.Map);
        std::vector<FuzzedRecord> chosen;
        for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
            if (row.Record.Kind == RECORD_SHARED) {
                chosen.push_back({&row, messages.Map.find(row.Id)->second});
            }
        }
        return chosen;
    }();
    return records;
}

void Require(bool Holds, const char* What)
{
    if (!Holds) {
        Fail(std::string("broken: ") + What);
    }
}

} // namespace FuzzUnit
