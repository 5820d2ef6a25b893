#ifndef UTILITIES_VESKEVENTCODE_H
#define UTILITIES_VESKEVENTCODE_H

#include <cerrno>
#include <cstdint>

// Result of nearly every operation: 0 is success, negative values are the
// module's own events, positive values are errno numbers passed through.
using VeskEventCode_T = std::int32_t;

// The codes by name; the list holds each code's number and text once.
enum VeskEventCodes : VeskEventCode_T {
#define VESK_EVENT(Name, Code, Text) Name = Code,
#include "Utilities/VeskEventCodes.def"
};

// The outcome of a system or C library call as this layer returns and keeps
// it: SUCCESS, or when Failed the errno the call left. Call it straight
// after the call, before anything else can change errno:
//     m_LastError = ErrnoIf(bind(...) == -1);
inline VeskEventCode_T ErrnoIf(bool Failed)
{
    return Failed ? errno : SUCCESS;
}

// The levels events are reported at (IOSSFactory::SendEvent): the syslog
// priorities LOG_ERR, LOG_WARNING and LOG_INFO, named here so that callers
// need not include the system's logging header.
constexpr int cErrorLevel = 3;
constexpr int cWarningLevel = 4;
constexpr int cInfoLevel = 6;

#endif
