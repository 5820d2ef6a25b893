#include "Utilities/DottedQuad.h"

#include <cstdio>

std::string DottedQuad(std::uint32_t HostOrderAddress)
{
    char text[16];
    std::snprintf(text, sizeof(text), "%u.%u.%u.%u", (HostOrderAddress >> 24) & 0xFFu,
                  (HostOrderAddress >> 16) & 0xFFu, (HostOrderAddress >> 8) & 0xFFu, HostOrderAddress & 0xFFu);
    return text;
}
