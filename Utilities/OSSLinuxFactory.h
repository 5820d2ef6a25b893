#ifndef UTILITIES_OSSLINUXFACTORY_H
#define UTILITIES_OSSLINUXFACTORY_H

#include <string>

#include "Utilities/IOSSFactory.h"

// The factory of the embedded Linux units.
class COSSLinuxFactory : public IOSSFactory {
public:
    COSSLinuxFactory();
    ~COSSLinuxFactory() override;

    void SetName(const std::string& Name) override;
    const std::string& GetName() const override;
    void SetErrorStatusMessage(IDatabaseErrorStatusMessage* pErrorStatus) override;
    IOSSFile* CreatePipe(const char* Name, int flags) override;
    IOSSFile* CreateFile(const char* Name, int flags, int mode) override;
    IOSSNetwork* CreateNetwork(int domain, int type, int protocol, int AddressChoice) override;
    IOSSNotify* CreateNotify() override;
    const char* GetEnv(const char* Name) override;
    VeskEventCode_T SetEnv(const char* Name, const char* Value, bool overwrite) override;
    VeskEventCode_T Makedir(const char* Name, mode_t mode) override;
    VeskEventCode_T RemoveDirs(const char* Name, bool recursive) override;
    VeskEventCode_T CopyDirs(const char* From, const char* To) override;
    VeskEventCode_T CreateFullPath(const char* FullPath) override;
    VeskEventCode_T CopyFile(const char* From, const char* To, BackGroundCopy_T Background) override;
    VeskEventCode_T MoveFile(const char* From, const char* To) override;
    bool CheckForFile(const char* FullPath, const char* FileName) override;
    bool CheckForDir(const char* FullPath) override;
    VeskEventCode_T CreateSoftLink(const char* Target, const char* Link) override;
    VeskEventCode_T RemoveFiles(const char* Path, const char* Name) override;
    VeskEventCode_T Sync() override;
    VeskEventCode_T SendEvent(int level, VeskEventCode_T code, const char* where, const char* why) override;
    VeskEventCode_T CreateThread(pthread_t* Thread, const pthread_attr_t* Attributes,
                                 void* (*StartRoutine)(void*), void* Argument) override;
    VeskEventCode_T JoinThread(pthread_t Thread, void** Result) override;
    VeskEventCode_T DetachThread(pthread_t Thread) override;
    VeskEventCode_T InitThreadAttr(pthread_attr_t* Attributes) override;
    VeskEventCode_T SendAckToErrorHandler(const char* Ack) override;
    int GetFileSize(const char* file) override;
    VeskEventCode_T LinkFile(const char* Existing, const char* NewName) override;
    VeskEventCode_T UnlinkFile(const char* Name) override;
    void WriteSystemLog(int Priority, const char* Line) override;

private:
    std::string m_TaskName;
    IDatabaseErrorStatusMessage* m_pErrorStatus;
};

#endif
