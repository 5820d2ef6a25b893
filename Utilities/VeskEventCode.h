#ifndef UTILITIES_VESKEVENTCODE_H
#define UTILITIES_VESKEVENTCODE_H

#include <cstdint>

// Result of nearly every operation: 0 is success, negative values are the
// module's own events, positive values are errno numbers passed through.
using VeskEventCode_T = std::int32_t;

// The codes by name; the list holds each code's number and text once.
enum VeskEventCodes : VeskEventCode_T {
#define VESK_EVENT(Name, Code, Text) Name = Code,
#include "Utilities/VeskEventCodes.def"
};

// The levels events are reported at (IOSSFactory::SendEvent): the syslog
// priorities LOG_ERR, LOG_WARNING and LOG_INFO, named here so that callers
// need not include the system's logging header.
constexpr int cErrorLevel = 3;
constexpr int cWarningLevel = 4;
constexpr int cInfoLevel = 6;

#endif
