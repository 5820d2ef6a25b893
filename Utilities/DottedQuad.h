#ifndef UTILITIES_DOTTEDQUAD_H
#define UTILITIES_DOTTEDQUAD_H

#include <cstdint>
#include <string>

// An IPv4 address as text, "a.b.c.d", from its value in host byte order
// (the most significant octet first in the text). Every address the
// system shows or hands to the socket layer as text is made here.
std::string DottedQuad(std::uint32_t HostOrderAddress);

#endif
