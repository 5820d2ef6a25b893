// A capture file handed to the operator's tool: any bytes, of any length,
// read as the classic or the block format.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

#include "fuzz/FuzzUnit.h"
#include "tools/vesk/PcapFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size)
{
    // The reader takes a descriptor; a memory file spares the disk.
    static const int fd = memfd_create("capture", 0);
    FuzzUnit::Require(fd >= 0, "no memory file");
    FuzzUnit::Require(ftruncate(fd, 0) == 0 && lseek(fd, 0, SEEK_SET) == 0, "memory file not emptied");
    for (size_t done = 0; done < Size;) {
        const ssize_t written = write(fd, Data + done, Size - done);
        FuzzUnit::Require(written > 0, "memory file not written");
        done += static_cast<size_t>(written);
    }
    lseek(fd, 0, SEEK_SET);

    CPcapReader reader(fd);
    // Every datagram comes from its own frame of at least an IPv4 and a UDP
    // header, and holds no more than its frame captured.
    size_t datagrams = 0;
    size_t payloadBytes = 0;
    for (UdpDatagram_T datagram; reader.Next(datagram);) {
        ++datagrams;
        payloadBytes += datagram.Payload.size();
        FuzzUnit::Require(datagram.Payload.size() <= 65535 - 8, "a payload longer than any UDP length");
    }
    FuzzUnit::Require(datagrams * 28 + payloadBytes <= Size, "more datagram bytes than the capture holds");
    UdpDatagram_T after;
    FuzzUnit::Require(!reader.Next(after), "a datagram after the end");
    return 0;
}
