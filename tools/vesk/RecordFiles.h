#ifndef TOOLS_VESK_RECORDFILES_H
#define TOOLS_VESK_RECORDFILES_H

#include <vector>

#include "tools/vesk/DatabaseFileCheck.h"

// The binary record files a task of this unit loads at its start.
std::vector<RecordFileExpectation_T> UnitRecordFiles();

#endif
