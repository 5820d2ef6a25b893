#ifndef TOOLS_VESK_CONFIGFINDING_H
#define TOOLS_VESK_CONFIGFINDING_H

#include <string>
#include <vector>

// One thing a configuration check has to say about a unit.
struct ConfigFinding_T {
    enum Severity_T {
        // Worth knowing; the task starts all the same (a missing record file
        // is created with its defaults, for example).
        NOTE,
        // The task would not start, would abort, or would run wrongly.
        PROBLEM,
    };
    Severity_T Severity;
    // The variable or path concerned, so that the operator knows what to fix.
    std::string Subject;
    std::string Text;
    // A repair can remove the cause (a record file the task would abort on
    // or could not use, a PID file of a process that is not the task).
    bool Repairable = false;
    // A variable the task needs is not set: the check could not look at
    // what it names.
    bool Unset = false;
};

using ConfigFindings_T = std::vector<ConfigFinding_T>;

#endif
