#include "tools/vesk/RecordFiles.h"

std::vector<RecordFileExpectation_T> UnitRecordFiles()
{
    return {
        {"SystemSettings", "SystemSettings.bin", "DATABASE_DIR_SYSTEM_DATA", 0x270106, 562, true, true},
        {"EnvironmentLimits", "EnvironmentLimits.bin", "NONPERSISTED_DATABASE_ROOT", 0x270105, 35, true, true},
        {"SystemLimits", "SystemLimits.bin", "NONPERSISTED_DATABASE_ROOT", 0x270107, 49, true, true},
        {"MasterBottomRecord", "MasterBottomRecord.bin", "NONPERSISTED_DATABASE_ROOT", 0x270108, 22, true, true},
        {"ErrorStatus", "ErrorStatus.bin", "NONPERSISTED_DATABASE_ROOT", 0x27010D, 20, true, true},
        {"ServiceInfo", "ServiceInfo.bin", "DATABASE_DIR_SYSTEM_DATA", 0, 550, false, false},
    };
}
