#ifndef TOOLS_VESK_DBSETTERS_H
#define TOOLS_VESK_DBSETTERS_H

#include <string>
#include <vector>

#include "Utilities/VeskEventCode.h"

class IOSSFactory;

// The fields an engineer changes by hand, each set through its record
// class, so that the file lock and the record's own validation apply.
struct DbFieldValue_T {
    std::string Field;
    long long Value;
};

struct DbSetter_T {
    // Record name as "vesk db" takes it, e.g. "SystemSettings" or "LocalBottom:PPT"
    // (the local bottom record takes its ping task's file extension).
    const char* Record;
    // Directory variable of its file: unset, the record would write into "/".
    const char* DirectoryVariable;
    // Settable fields with their ranges, for --help and for checking values.
    const char* Fields;
    // Checks every field name and range; "" when fine, else what is wrong.
    std::string (*Validate)(const std::vector<DbFieldValue_T>& Values);
    // Loads the record, sets the values, stores it; the store's result.
    VeskEventCode_T (*Apply)(IOSSFactory* pFactory, const std::string& Argument,
                             const std::vector<DbFieldValue_T>& Values, std::string& Path);
};

const std::vector<DbSetter_T>& DbSetters();

#endif
