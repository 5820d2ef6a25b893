#include "tests/support/ForwardingFactory.h"

void CForwardingFactory::SetName(const std::string& Name)
{
    m_Target.SetName(Name);
}

const std::string& CForwardingFactory::GetName() const
{
    return m_Target.GetName();
}

void CForwardingFactory::SetErrorStatusMessage(IDatabaseErrorStatusMessage* pErrorStatus)
{
    m_Target.SetErrorStatusMessage(pErrorStatus);
}

IOSSFile* CForwardingFactory::CreatePipe(const char* Name, int flags)
{
    return m_Target.CreatePipe(Name, flags);
}

IOSSFile* CForwardingFactory::CreateFile(const char* Name, int flags, int mode)
{
    return m_Target.CreateFile(Name, flags, mode);
}

IOSSNetwork* CForwardingFactory::CreateNetwork(int domain, int type, int protocol, int AddressChoice)
{
    return m_Target.CreateNetwork(domain, type, protocol, AddressChoice);
}

IOSSNotify* CForwardingFactory::CreateNotify()
{
    return m_Target.CreateNotify();
}

const char* CForwardingFactory::GetEnv(const char* Name)
{
    return m_Target.GetEnv(Name);
}

VeskEventCode_T CForwardingFactory::SetEnv(const char* Name, const char* Value, bool overwrite)
{
    return m_Target.SetEnv(Name, Value, overwrite);
}

VeskEventCode_T CForwardingFactory::Makedir(const char* Name, mode_t mode)
{
    return m_Target.Makedir(Name, mode);
}

VeskEventCode_T CForwardingFactory::RemoveDirs(const char* Name, bool recursive)
{
    return m_Target.RemoveDirs(Name, recursive);
}

VeskEventCode_T CForwardingFactory::CopyDirs(const char* From, const char* To)
{
    return m_Target.CopyDirs(From, To);
}

VeskEventCode_T CForwardingFactory::CreateFullPath(const char* FullPath)
{
    return m_Target.CreateFullPath(FullPath);
}

VeskEventCode_T CForwardingFactory::CopyFile(const char* From, const char* To, BackGroundCopy_T Background)
{
    return m_Target.CopyFile(From, To, Background);
}

VeskEventCode_T CForwardingFactory::MoveFile(const char* From, const char* To)
{
    return m_Target.MoveFile(From, To);
}

bool CForwardingFactory::CheckForFile(const char* FullPath, const char* FileName)
{
    return m_Target.CheckForFile(FullPath, FileName);
}

bool CForwardingFactory::CheckForDir(const char* FullPath)
{
    return m_Target.CheckForDir(FullPath);
}

VeskEventCode_T CForwardingFactory::CreateSoftLink(const char* Target, const char* Link)
{
    return m_Target.CreateSoftLink(Target, Link);
}

VeskEventCode_T CForwardingFactory::RemoveFiles(const char* Path, const char* Name)
{
    return m_Target.RemoveFiles(Path, Name);
}

VeskEventCode_T CForwardingFactory::Sync()
{
    return m_Target.Sync();
}

VeskEventCode_T CForwardingFactory::SendEvent(int level, VeskEventCode_T code, const char* where, const char* why)
{
    return m_Target.SendEvent(level, code, where, why);
}

VeskEventCode_T CForwardingFactory::CreateThread(pthread_t* Thread, const pthread_attr_t* Attributes, void* (*StartRoutine)(void*), void* Argument)
{
    return m_Target.CreateThread(Thread, Attributes, StartRoutine, Argument);
}

VeskEventCode_T CForwardingFactory::JoinThread(pthread_t Thread, void** Result)
{
    return m_Target.JoinThread(Thread, Result);
}

VeskEventCode_T CForwardingFactory::DetachThread(pthread_t Thread)
{
    return m_Target.DetachThread(Thread);
}

VeskEventCode_T CForwardingFactory::InitThreadAttr(pthread_attr_t* Attributes)
{
    return m_Target.InitThreadAttr(Attributes);
}

VeskEventCode_T CForwardingFactory::SendAckToErrorHandler(const char* Ack)
{
    return m_Target.SendAckToErrorHandler(Ack);
}

int CForwardingFactory::GetFileSize(const char* file)
{
    return m_Target.GetFileSize(file);
}

VeskEventCode_T CForwardingFactory::LinkFile(const char* Existing, const char* NewName)
{
    return m_Target.LinkFile(Existing, NewName);
}

VeskEventCode_T CForwardingFactory::UnlinkFile(const char* Name)
{
    return m_Target.UnlinkFile(Name);
}

void CForwardingFactory::WriteSystemLog(int Priority, const char* Line)
{
    m_Target.WriteSystemLog(Priority, Line);
}
