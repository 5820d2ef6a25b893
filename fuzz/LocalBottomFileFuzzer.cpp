// Local bottom files as a ping task (or a damaged disk) may leave them:
// any text at all.
#include <cstddef>
#include <cstdint>

#include "Database/DatabaseLocalBottomRecord.h"
#include "fuzz/FuzzUnit.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzUnit::Prepare();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size)
{
    static CDatabaseLocalBottomRecord record(FuzzUnit::Factory(), "PPT");

    FuzzUnit::WriteFile(record.GetDBFilePath(), Data, Size);
    record.readDB();

    // Whatever was read, storing it and reading it back gives the same bottom.
    const int32_t depth = record.GetDepth();
    const uint8_t state = record.GetState();
    FuzzUnit::Require(record.writeDB() == SUCCESS, "the bottom could not be stored");
    FuzzUnit::Require(record.readDB() == SUCCESS, "the stored bottom could not be read");
    FuzzUnit::Require(record.GetDepth() == depth && record.GetState() == state, "the bottom changed on the way");
    return 0;
}
