#include "Utilities/VeskAssert.h"

#include <cstdio>
#include <cstdlib>

void VeskAssertFailed(const char* Text, const char* File, int Line, const char* Function)
{
    // Same shape as the C library's own assertion line, so existing log
    // filters on the units keep matching.
    std::fflush(stdout);
    std::fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", File, Line, Function, Text);
    std::fflush(stderr);
    std::abort();
}
