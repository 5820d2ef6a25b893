#include "Utilities/FileTextStream.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "Utilities/VeskAssert.h"
#include "Utilities/VeskEventCode.h"

namespace {

template <typename Stored, typename Scanned>
Stored FromScanned(Scanned Value)
{
    return static_cast<Stored>(Value);
}

// The floating point slots have always stored the scanned float's bit
// pattern as the low half of an otherwise zero double: a tiny subnormal,
// whatever the text said. That result is kept on purpose; it is built here
// from the bits rather than by scanning a float into a double's storage.
template <>
double FromScanned<double, float>(float Value)
{
    std::uint32_t floatBits = 0;
    std::memcpy(&floatBits, &Value, sizeof(floatBits));
    const std::uint64_t doubleBits = floatBits;
    double result = 0.0;
    std::memcpy(&result, &doubleBits, sizeof(result));
    return result;
}

// The same double narrowed to single precision, which is always 0.
template <>
float FromScanned<float, float>(float Value)
{
    return static_cast<float>(FromScanned<double, float>(Value));
}

} // namespace

void CFileTextStream::Prepare(int Descriptor, const char* Mode)
{
    m_FileDescriptor = Descriptor;
    m_StreamMode = Mode;
}

bool CFileTextStream::Close()
{
    m_StreamMode = nullptr;
    if (m_pFile == nullptr) {
        return false;
    }
    // fclose releases the descriptor even when it fails (a failed final
    // flush), so the descriptor is not closed a second time: by then its
    // number may belong to a file opened by another thread.
    if (std::fclose(m_pFile) != 0) {
        m_LastError = errno;
    }
    m_pFile = nullptr;
    return true;
}

FILE* CFileTextStream::Stream()
{
    if (m_pFile == nullptr && m_StreamMode != nullptr) {
        m_pFile = fdopen(m_FileDescriptor, m_StreamMode);
        if (m_pFile == nullptr) {
            m_LastError = errno;
            m_StreamMode = nullptr;
        }
    }
    return m_pFile;
}

template <typename Scanned, typename Stored>
bool CFileTextStream::ReadValue(Stored* Data, const char* Format)
{
    VESK_ASSERT(Data);
    FILE* pFile = Stream();
    VESK_ASSERT(pFile);
    Scanned value{};
    if (std::fscanf(pFile, Format, &value) != EOF) {
        // A matching failure (nothing converted) stores the zeroed
        // temporary.
        *Data = FromScanned<Stored>(value);
        m_LastError = 0;
        return true;
    }
    // errno is deliberately not cleared before the scan: running out of
    // text is only a failure when something went wrong before it.
    m_LastError = errno;
    return m_LastError == 0;
}

template <typename Scanned, typename Stored>
bool CFileTextStream::ReadValues(Stored* Data, size_t Count, const char* Format)
{
    VESK_ASSERT(Data);
    FILE* pFile = Stream();
    VESK_ASSERT(pFile);
    int error = 0;
    for (size_t i = 0; i < Count; ++i) {
        Scanned value{};
        if (std::fscanf(pFile, Format, &value) != EOF) {
            Data[i] = FromScanned<Stored>(value);
        } else {
            error = errno;
        }
    }
    m_LastError = error;
    return m_LastError == 0;
}

bool CFileTextStream::Read(UINT8* Data)
{
    return ReadValue<unsigned int>(Data, "%u ");
}

bool CFileTextStream::Read(UINT16* Data)
{
    return ReadValue<unsigned int>(Data, "%u ");
}

bool CFileTextStream::Read(UINT32* Data)
{
    return ReadValue<unsigned int>(Data, "%u ");
}

bool CFileTextStream::Read(int* Data)
{
    return ReadValue<int>(Data, "%d ");
}

bool CFileTextStream::Read(long unsigned int* Data)
{
    return ReadValue<size_t>(Data, "%zu ");
}

bool CFileTextStream::Read(int* Data, size_t Count)
{
    return ReadValues<int>(Data, Count, "%d ");
}

bool CFileTextStream::Read(double* Data)
{
    return ReadValue<float>(Data, "%f");
}

bool CFileTextStream::Read(float* Data)
{
    return ReadValue<float>(Data, "%f");
}

bool CFileTextStream::Read(float* Data, size_t Count)
{
    return ReadValues<float>(Data, Count, "%f ");
}

bool CFileTextStream::Read(char* Data)
{
    return ReadValue<int>(Data, "%d ");
}

bool CFileTextStream::Read(char* Data, const char* Format)
{
    VESK_ASSERT(Data);
    VESK_ASSERT(Format);
    if (Stream() == nullptr) {
        return false;
    }
    if (std::fscanf(m_pFile, Format, Data) != EOF) {
        return true;
    }
    m_LastError = errno;
    return false;
}

bool CFileTextStream::Read(short int* Data)
{
    return ReadValue<int>(Data, "%d");
}

bool CFileTextStream::Read(short int* Data, size_t Count)
{
    return ReadValues<int>(Data, Count, "%d ");
}

bool CFileTextStream::Read(bool* Data)
{
    return ReadValue<int>(Data, "%d");
}

bool CFileTextStream::Write(const char* Data)
{
    VESK_ASSERT(Data);
    if (Stream() != nullptr) {
        m_LastError = 0;
        if (std::fputs(Data, m_pFile) == EOF) {
            m_LastError = errno;
        }
        if (std::fflush(m_pFile) != 0) {
            m_LastError = errno;
        }
    }
    return m_LastError == 0;
}

bool CFileTextStream::Seek(long offset, int whence)
{
    if (Stream() == nullptr) {
        return false;
    }
    m_LastError = ErrnoIf(std::fseek(m_pFile, offset, whence) == -1);
    return m_LastError == 0;
}

long CFileTextStream::Tell()
{
    if (Stream() == nullptr) {
        return -1;
    }
    const long position = std::ftell(m_pFile);
    m_LastError = ErrnoIf(position == -1);
    return position;
}
