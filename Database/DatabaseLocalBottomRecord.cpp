#include "Database/DatabaseLocalBottomRecord.h"

#include <cstdio>
#include <memory>

#include "Database/RecordDescription.h"
#include "Utilities/TextScanner.h"

namespace {

std::string FileNameFor(const char* Extension)
{
    return Extension ? std::string("LocalBottomState") + Extension + ".txt" : std::string("LocalBottomState");
}

} // namespace

VESK_FILE_DESCRIPTION(CDatabaseLocalBottomRecord).Directory("NONPERSISTED_DATABASE_ROOT");

CDatabaseLocalBottomRecord::CDatabaseLocalBottomRecord(IOSSFactory* pFactory, const char* Extension)
    : CDatabaseFile(pFactory, cFileDescription, FileNameFor(Extension))
{
    LoadOrCreate();
}

void CDatabaseLocalBottomRecord::SetDefaults()
{
    m_Depth = cNoBottom;
    m_State = cStateNotInUse;
}

VeskEventCode_T CDatabaseLocalBottomRecord::writeDB()
{
    return Store([this](IOSSFile& File) {
        char text[64] = {};
        std::snprintf(text, sizeof(text), "%d\n%d\n", m_Depth, m_State);
        if (File.WriteStream(text)) {
            // The file is opened without truncation: cut off the tail of a
            // longer text written before.
            const long end = File.TellStream();
            if (end >= 0) {
                File.Ftruncate(static_cast<int>(end));
            }
            return SUCCESS;
        }
        m_pFactory->SendEvent(cErrorLevel, File.GetLastError(), Where("::", "writeDB()").c_str(),
                              "failed to write contents");
        // An empty file read as a record would yield nothing but failures.
        RemoveIfShorterThan(1);
        return FAILED_TO_WRITE_FILE_CONTENTS;
    });
}

VeskEventCode_T CDatabaseLocalBottomRecord::readDB()
{
    VeskEventCode_T result;
    uint8_t firstBytes[CTextScanner::cChunkSize];
    Buffer_Bytes_T first(firstBytes, sizeof(firstBytes));
    int firstError;
    const std::unique_ptr<IOSSFile> file = OpenForLoad(result, first, firstError);
    if (!file) {
        return result;
    }
    // Scanned straight from the file's bytes, as its stream would scan
    // them: the loop reads both bottoms every turn, and a stream would cost
    // memory and a read past the few bytes the file holds.
    CTextScanner text(*file, first, firstError);
    // Each value is kept as soon as it is read, so a file cut short still
    // yields what it has.
    int depth = m_Depth;
    const bool depthRead = text.Read(&depth);
    if (depthRead) {
        m_Depth = depth;
    }
    UINT8 state = m_State;
    const bool stateRead = text.Read(&state);
    if (stateRead) {
        m_State = state;
    }
    if (depthRead && stateRead) {
        return SUCCESS;
    }
    // The scanner keeps the error of the read that ended the text.
    m_pFactory->SendEvent(cErrorLevel, text.GetLastError(), Where("::", "readDB()").c_str(), "failed to read contents");
    return FAILED_TO_READ_FILE_CONTENTS;
}
