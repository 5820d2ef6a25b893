#ifndef TOOLS_VESK_UNITCONFIGCHECK_H
#define TOOLS_VESK_UNITCONFIGCHECK_H

#include <string>

#include "tools/vesk/ConfigFinding.h"

class IOSSFactory;

// The environment of the master bottom task, checked before a start: every
// variable it reads, the directories and pipes they name, the interface it
// sends from, and whether an instance already runs. The task itself trusts
// its environment (an unset pipe variable aborts it, an unset directory
// puts record files into "/"), so this is where a bad one is named.
class CUnitConfigCheck {
public:
    explicit CUnitConfigCheck(IOSSFactory* pFactory);

    // Appends what it finds about the environment to Findings.
    void CheckEnvironment(ConfigFindings_T& Findings);
    // Running or stale instances of the task (PID files naming its pipe).
    void CheckInstances(ConfigFindings_T& Findings);
    // Removes PID files whose process is not the task; returns what it did.
    ConfigFindings_T RemoveStalePidFiles();

private:
    // The value, or null after a finding that names the unset variable.
    const char* Required(const char* Variable, ConfigFindings_T& Findings);
    void CheckDirectory(const char* Variable, ConfigFindings_T& Findings);
    void CheckFifo(const char* Variable, ConfigFindings_T& Findings);
    void CheckNumber(const char* Variable, long Minimum, long Maximum, ConfigFindings_T& Findings);
    void CheckExtension(const char* Variable, ConfigFindings_T& Findings);
    void CheckProduct(ConfigFindings_T& Findings);
    void CheckInterface(ConfigFindings_T& Findings);

    IOSSFactory* m_pFactory;
};

#endif
