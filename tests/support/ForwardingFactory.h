#ifndef TESTS_SUPPORT_FORWARDINGFACTORY_H
#define TESTS_SUPPORT_FORWARDINGFACTORY_H

#include "Utilities/IOSSFactory.h"

// Hands every operation to a target factory, unchanged. A test double
// derives from it and overrides only what it changes; an operation added to
// the interface needs one line here instead of one in every double.
class CForwardingFactory : public IOSSFactory {
public:
    // Target is not owned and must outlive this factory; it is only stored
    // here, so a derived class may pass one of its own members.
    explicit CForwardingFactory(IOSSFactory& Target) : m_Target(Target) {}

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
    VeskEventCode_T CreateThread(pthread_t* Thread, const pthread_attr_t* Attributes, void* (*StartRoutine)(void*),
                                 void* Argument) override;
    VeskEventCode_T JoinThread(pthread_t Thread, void** Result) override;
    VeskEventCode_T DetachThread(pthread_t Thread) override;
    VeskEventCode_T InitThreadAttr(pthread_attr_t* Attributes) override;
    VeskEventCode_T SendAckToErrorHandler(const char* Ack) override;
    int GetFileSize(const char* file) override;
    VeskEventCode_T LinkFile(const char* Existing, const char* NewName) override;
    VeskEventCode_T UnlinkFile(const char* Name) override;
    void WriteSystemLog(int Priority, const char* Line) override;

protected:
    IOSSFactory& Target() { return m_Target; }

private:
    IOSSFactory& m_Target;
};

#endif
