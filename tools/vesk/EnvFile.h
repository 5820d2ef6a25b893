#ifndef TOOLS_VESK_ENVFILE_H
#define TOOLS_VESK_ENVFILE_H

#include <string>

// The unit's environment file (lines NAME=VALUE, as the service reads it),
// so that the tool works on the installed unit without the operator
// exporting every variable by hand. What is already in the environment
// wins: a value given on the command line is the one meant.
class CEnvFile {
public:
    // Sets every variable of the file at Path that is not set yet. When
    // Required is false a missing file sets nothing and is no error. False
    // with Error naming the file (and line) when it cannot be used.
    static bool Load(const std::string& Path, bool Required, std::string& Error);
};

#endif
