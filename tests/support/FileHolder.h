#ifndef TESTS_SUPPORT_FILEHOLDER_H
#define TESTS_SUPPORT_FILEHOLDER_H

#include <sys/types.h>

#include <string>

#include <gtest/gtest.h>

// Another process that opens Path through the file layer with Flags, reports
// the open's last error and keeps the file open until Release() or the
// holder's end: the way a second task holds a record file.
class CFileHolder {
public:
    CFileHolder(const std::string& Path, int Flags);
    ~CFileHolder();
    CFileHolder(const CFileHolder&) = delete;
    CFileHolder& operator=(const CFileHolder&) = delete;

    void Release();
    pid_t Pid() const { return m_Pid; }
    // The holder's GetLastError() right after its open.
    int OpenError() const { return m_OpenError; }

private:
    pid_t m_Pid = -1;
    int m_Release = -1;
    int m_OpenError = -1;
};

// What Action printed on this process's standard output.
template <typename Action>
std::string CaptureStdout(Action action)
{
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

#endif
