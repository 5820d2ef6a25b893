#include "tools/vesk/RecordFiles.h"

#include <cstdio>
#include <deque>
#include <string>

#include "Sonar4/Sonar4MessageTable.h"
#include "tools/vesk/Sonar4PacketText.h"

namespace {

// The names the expectations point at live as long as the process; a
// deque keeps them in place as it grows.
std::deque<std::string>& Names()
{
    static std::deque<std::string> names;
    return names;
}

} // namespace

std::vector<RecordFileExpectation_T> UnitRecordFiles()
{
    std::vector<RecordFileExpectation_T> files;
    std::deque<std::string>& names = Names();
    names.clear();
    for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
        const Sonar4RecordFacts_T& record = row.Record;
        if (record.Kind == RECORD_NONE || record.FileName == nullptr) {
            continue;
        }
        for (unsigned instance = 0; instance < row.Instances; ++instance) {
            char fileName[256];
            std::snprintf(fileName, sizeof(fileName), record.FileName, instance);
            names.push_back(CSonar4PacketText::MessageName(row));
            names.push_back(fileName);
            const bool shared = record.Kind == RECORD_SHARED;
            files.push_back({names[names.size() - 2].c_str(), names.back().c_str(), record.DirectoryVariable, row.Id,
                             record.PacketSize, shared,
                             shared && record.UnitCheck == UNIT_CHECK_VERSION_AND_SERIAL});
        }
    }
    return files;
}
