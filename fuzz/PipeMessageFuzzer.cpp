// Command pipe input: whatever another process writes into the task's pipe
// is split into messages and decoded, as the task does it.
//
// Input layout: terminator byte, room byte (0: the task's own 512-byte pipe
// buffer, else a heap buffer of exactly that many bytes, so that storing one
// byte too many is caught), end byte (even: the pipe runs dry with EAGAIN,
// odd: the writer closed it), then the bytes in the pipe.
#include <fcntl.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "Utilities/ByteBuffer.h"
#include "Utilities/CommandPipeDecoder.h"
#include "Utilities/IOSSFactory.h"
#include "Utilities/PipeReader.h"
#include "fuzz/FuzzUnit.h"
#include "tests/support/ForwardingFile.h"

namespace {

// A non-blocking pipe holding fixed bytes that hands out at most one byte
// per read, however much room the reader offers. Past its end it either
// fails with EAGAIN (writers still there) or reads 0 (end of file). Every
// other operation goes to a file that never opened and fails: nothing else
// is a pipe reader's business.
class CBytePipe : public CForwardingFile {
public:
    CBytePipe(const uint8_t* Data, size_t Size, bool EndOfFile)
        : CForwardingFile(std::unique_ptr<IOSSFile>(FuzzUnit::Factory()->CreateFile("", O_RDONLY, 0))),
          m_pData(Data), m_Size(Size), m_EndOfFile(EndOfFile)
    {
    }

    size_t Consumed() const { return m_Position; }
    bool Empty() const { return m_Position == m_Size; }

    bool Read(Buffer_Bytes_T* Buffer) override
    {
        if (Empty()) {
            Buffer->size(0);
            m_LastError = m_EndOfFile ? 0 : EAGAIN;
            return m_EndOfFile;
        }
        m_LastError = 0;
        if (Buffer->size() == 0) {
            return true;
        }
        Buffer->ptr()[0] = m_pData[m_Position++];
        Buffer->size(1);
        return true;
    }

    int GetLastError() const override { return m_LastError; }

private:
    const uint8_t* m_pData;
    size_t m_Size;
    bool m_EndOfFile;
    size_t m_Position = 0;
    int m_LastError = 0;
};

constexpr size_t cHeaderSize = 3;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size)
{
    if (Size < cHeaderSize) {
        return 0;
    }
    const char terminator = static_cast<char>(Data[0]);
    const size_t room = Data[1];
    const bool endOfFile = (Data[2] & 1) != 0;
    const uint8_t* pipeBytes = Data + cHeaderSize;
    CBytePipe pipe(pipeBytes, Size - cHeaderSize, endOfFile);

    const CPipeReader reader;
    const CommandPipeDecoder decoder;
    Pipe_Buffer_T taskBuffer;
    std::unique_ptr<uint8_t[]> exactStorage(new uint8_t[room == 0 ? 1 : room]);

    // Every read either takes bytes or ends the loop, so this terminates.
    for (;;) {
        const size_t before = pipe.Consumed();
        VeskEventCode_T result;
        const uint8_t* stored;
        size_t storedSize;
        if (room == 0) {
            taskBuffer.Reset();
            result = reader.ReadPipeMessage(&pipe, &taskBuffer, terminator);
            stored = taskBuffer.ptr();
            storedSize = taskBuffer.size();
            FuzzUnit::Require(storedSize <= Pipe_Buffer_T::cPipeBufferSize, "stored more than the room");
        } else {
            std::memset(exactStorage.get(), 0, room);
            Buffer_Bytes_T buffer(exactStorage.get(), room);
            result = reader.ReadPipeMessage(&pipe, &buffer, terminator);
            stored = buffer.ptr();
            storedSize = buffer.size();
            FuzzUnit::Require(storedSize <= room, "stored more than the room");
        }

        // The reader neither drops bytes nor reads past the message it
        // stores: the next message stays in the pipe. Only at end of file
        // does it store more than it took: the byte last read (0 when none
        // was), again and again.
        const size_t taken = pipe.Consumed() - before;
        FuzzUnit::Require(taken <= storedSize, "bytes taken from the pipe were not stored");
        FuzzUnit::Require(std::memcmp(stored, pipeBytes + before, taken) == 0, "stored bytes differ");
        FuzzUnit::Require(taken == storedSize || endOfFile, "bytes stored that the pipe did not hold");
        const uint8_t repeated = taken > 0 ? pipeBytes[before + taken - 1] : 0;
        for (size_t i = taken; i < storedSize; ++i) {
            FuzzUnit::Require(stored[i] == repeated, "end of file stored other than the last byte read");
        }
        FuzzUnit::Require(storedSize < 2 || std::memchr(stored, terminator, storedSize - 1) == nullptr,
                          "read on past a terminator");

        if (result == SUCCESS) {
            const bool terminated = storedSize > 0 && stored[storedSize - 1] == static_cast<uint8_t>(terminator);
            FuzzUnit::Require(terminated || pipe.Empty(), "success on an unterminated message with more to come");
            // Decoded as text, as the task does: success leaves room for
            // at least one byte of the zeroed buffer behind the message.
            decoder.DecodeCommand(reinterpret_cast<const char*>(stored));
        } else if (result == PIPE_MESSAGE_TOO_LONG) {
            FuzzUnit::Require(storedSize == (room == 0 ? Pipe_Buffer_T::cPipeBufferSize : room),
                              "too long before the room was used up");
        } else {
            FuzzUnit::Require(storedSize == 0 && pipe.Empty(), "a read failed with bytes taken");
            FuzzUnit::Require(result == EAGAIN && !endOfFile, "an empty pipe failed other than with EAGAIN");
        }
        if (pipe.Empty() && pipe.Consumed() == before) {
            break;
        }
    }
    return 0;
}
