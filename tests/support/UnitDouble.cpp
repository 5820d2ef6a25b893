#include "tests/support/UnitDouble.h"

#include <fcntl.h>
#include <glob.h>

#include <filesystem>
#include <memory>

#include "Utilities/VeskAssert.h"
#include "tests/support/FaultyFile.h"

namespace fs = std::filesystem;

namespace {

// Where a copy or move to To lands: inside To when that is a directory, as
// with cp and mv.
fs::path Destination(const char* From, const char* To)
{
    std::error_code ignored;
    return fs::is_directory(To, ignored) ? fs::path(To) / fs::path(From).filename() : fs::path(To);
}

} // namespace

// m_Real is only stored by the base before it is made.
CUnitDouble::CUnitDouble() : CForwardingFactory(m_Real), m_Real(*this) {}

VeskEventCode_T CUnitDouble::SendEvent(int level, VeskEventCode_T code, const char* where, const char* why)
{
    VESK_ASSERT(where && why);
    if (m_KeepEvents) {
        m_Events.push_back({level, code, where, why});
    }
    return SUCCESS;
}

void CUnitDouble::WriteSystemLog(int Priority, const char* Line)
{
    VESK_ASSERT(Line);
    if (m_KeepEvents) {
        m_Logged.emplace_back(Priority, Line);
    }
}

IOSSFile* CUnitDouble::CreateFile(const char* Name, int flags, int mode)
{
    if (m_FailOpenWith != 0 && m_FailOpenCount > 0) {
        --m_FailOpenCount;
        return FailedOpen(m_FailOpenWith);
    }
    // Until a fault is armed the files are the real ones, as cheap as the
    // task's own: the steady turn is counted for allocations.
    if (!Armed()) {
        return CForwardingFactory::CreateFile(Name, flags, mode);
    }
    if (const int error = Inject(FAULT_OPEN)) {
        return FailedOpen(error);
    }
    return new CFaultyFile(*this, std::unique_ptr<IOSSFile>(CForwardingFactory::CreateFile(Name, flags, mode)));
}

IOSSFile* CUnitDouble::FailedOpen(int Error)
{
    // The real class on a path that cannot exist fails every operation as
    // after any failed open.
    return new CFaultyFile(*this, std::unique_ptr<IOSSFile>(CForwardingFactory::CreateFile("", O_RDONLY, 0)), Error);
}

IOSSFile* CUnitDouble::CreatePipe(const char* Name, int flags)
{
    return CreateFile(Name, flags, 0);
}

VeskEventCode_T CUnitDouble::LinkFile(const char* Existing, const char* NewName)
{
    if (m_BeforeLink) {
        m_BeforeLink(NewName);
    }
    if (Armed()) {
        if (const int error = Inject(FAULT_LINK)) {
            return error;
        }
    }
    return CForwardingFactory::LinkFile(Existing, NewName);
}

IOSSNetwork* CUnitDouble::CreateNetwork(int, int, int, int AddressChoice)
{
    return new CUnitNetwork(m_Net, AddressChoice);
}

VeskEventCode_T CUnitDouble::RemoveDirs(const char* Name, bool recursive)
{
    VESK_ASSERT(Name);
    std::error_code ignored;
    if (recursive) {
        fs::remove_all(Name, ignored);
    } else if (fs::is_directory(Name, ignored)) {
        // Only an empty one, as rmdir.
        fs::remove(Name, ignored);
    }
    return SUCCESS;
}

VeskEventCode_T CUnitDouble::CopyDirs(const char* From, const char* To)
{
    VESK_ASSERT(From && To);
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(From, ignored)) {
        fs::copy(entry.path(), fs::path(To) / entry.path().filename(),
                 fs::copy_options::recursive | fs::copy_options::overwrite_existing, ignored);
    }
    return SUCCESS;
}

VeskEventCode_T CUnitDouble::CreateFullPath(const char* FullPath)
{
    VESK_ASSERT(FullPath);
    std::error_code ignored;
    fs::create_directories(FullPath, ignored);
    return SUCCESS;
}

// Done before returning even when asked for in the background: a test
// cannot tell that from a quick background copy.
VeskEventCode_T CUnitDouble::CopyFile(const char* From, const char* To, BackGroundCopy_T)
{
    VESK_ASSERT(From && To);
    std::error_code ignored;
    fs::copy_file(From, Destination(From, To), fs::copy_options::overwrite_existing, ignored);
    return SUCCESS;
}

VeskEventCode_T CUnitDouble::MoveFile(const char* From, const char* To)
{
    VESK_ASSERT(From && To);
    std::error_code ignored;
    fs::rename(From, Destination(From, To), ignored);
    return SUCCESS;
}

VeskEventCode_T CUnitDouble::CreateSoftLink(const char* Target, const char* Link)
{
    VESK_ASSERT(Target && Link);
    std::error_code ignored;
    fs::create_symlink(Target, Destination(Target, Link), ignored);
    return SUCCESS;
}

VeskEventCode_T CUnitDouble::RemoveFiles(const char* Path, const char* Name)
{
    VESK_ASSERT(Path && Name);
    glob_t matches{};
    if (glob((std::string(Path) + "/" + Name).c_str(), GLOB_NOSORT, nullptr, &matches) == 0) {
        std::error_code ignored;
        for (size_t match = 0; match < matches.gl_pathc; ++match) {
            fs::remove_all(matches.gl_pathv[match], ignored);
        }
    }
    globfree(&matches);
    return SUCCESS;
}
