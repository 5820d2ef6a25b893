#include "tests/support/FileFaults.h"

const char* FileFaultName(FileFault_T Fault)
{
    static const char* const cNames[FAULT_KINDS] = {"open",      "lock",         "read",
                                                    "short read", "write",       "short write",
                                                    "ftruncate", "read stream", "write stream",
                                                    "link"};
    return cNames[Fault];
}

void CFileFaults::Arm(FileFault_T Fault, int Nth, int Error)
{
    m_Calls.clear();
    m_Fault = Fault;
    m_Nth = Nth;
    m_Error = Error;
    m_Fired = false;
    m_Armed = true;
}

int CFileFaults::Calls(FileFault_T Fault) const
{
    const auto found = m_Calls.find(Fault);
    return found == m_Calls.end() ? 0 : found->second;
}

int CFileFaults::Inject(FileFault_T Fault)
{
    const int call = ++m_Calls[Fault];
    if (m_Nth == 0 || Fault != m_Fault || call != m_Nth) {
        return 0;
    }
    m_Fired = true;
    // Short transfers report no error: they only move less.
    return (Fault == FAULT_SHORT_READ || Fault == FAULT_SHORT_WRITE) ? 1 : m_Error;
}
