#ifndef TESTS_SUPPORT_FAULTYFILE_H
#define TESTS_SUPPORT_FAULTYFILE_H

#include <memory>

#include "tests/support/FileFaults.h"
#include "tests/support/ForwardingFile.h"

// A file whose operations fail as the faults say. A failure leaves the
// target untouched and reports the injected error as the last error, as the
// real class reports a failed call.
class CFaultyFile : public CForwardingFile {
public:
    // The open of Target happened: its lock may still be refused.
    CFaultyFile(CFileFaults& Faults, std::unique_ptr<IOSSFile> Target);
    // An open that failed with OpenError (Target: a file that never opened).
    CFaultyFile(CFileFaults& Faults, std::unique_ptr<IOSSFile> Target, int OpenError);

    int GetLastError() const override;
    bool Read(Buffer_Bytes_T* Buffer) override;
    bool Write(const Buffer_Bytes_T* Buffer) override;
    int Ftruncate(int length) override;
    bool WriteStream(const char* Data) override;
    bool ReadStream(int* Data) override;
    bool ReadStream(UINT8* Data) override;

private:
    template <typename Call>
    bool Checked(FileFault_T Fault, Call call);
    template <typename Buffer, typename Call>
    bool Transfer(Buffer* pBuffer, FileFault_T Fault, FileFault_T ShortFault, Call call);

    CFileFaults& m_Faults;
    int m_Error = 0;
};

#endif
