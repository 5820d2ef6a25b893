#ifndef DATABASE_IDATABASEERRORSTATUSMESSAGE_H
#define DATABASE_IDATABASEERRORSTATUSMESSAGE_H

#include <cstdint>

#include "Utilities/VeskEventCode.h"

// The unit's persistent error status word, one bit per standing fault. The
// factory and the event reporter know the record only through this
// interface, because the record itself reports through them.
class IDatabaseErrorStatusMessage {
public:
    virtual ~IDatabaseErrorStatusMessage() = default;
    // Stores the word in the record file; returns the write's result.
    virtual VeskEventCode_T SetErrorStatus(std::uint32_t Status) = 0;
    // Reads the record file and returns the word (the word in memory when
    // the file cannot be read).
    virtual std::uint32_t GetErrorStatus() = 0;
};

#endif
