#ifndef TESTS_SUPPORT_EMULATOR_H
#define TESTS_SUPPORT_EMULATOR_H

#include <cstdlib>

// Name of the user-mode emulator running this test binary ("qemu-arm" ...),
// as the cross toolchains set it; null when the binary runs natively. The
// few tests that need a system feature the emulator does not implement
// skip under it, naming the feature, and fail as before anywhere else.
inline const char* Emulator()
{
    return std::getenv("VESK_EMULATOR");
}

#endif
