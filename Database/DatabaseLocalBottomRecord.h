#ifndef DATABASE_DATABASELOCALBOTTOMRECORD_H
#define DATABASE_DATABASELOCALBOTTOMRECORD_H

#include <cstdint>
#include <string>

#include "Database/DatabaseFile.h"
#include "Sonar4/Sonar4Types.h"

// The bottom one ping task has found, kept as a short text file
// ("<depth>\n<state>\n") in NONPERSISTED_DATABASE_ROOT, named
// "LocalBottomState<extension>.txt". One object per ping task.
class CDatabaseLocalBottomRecord : public CDatabaseFile {
public:
    // State values with a meaning of their own; any other is "in use, no bottom".
    static constexpr uint8_t cStateNotInUse = 0;
    static constexpr uint8_t cStateValidBottom = 2;

    // Extension: the ping task's file extension; null for none.
    CDatabaseLocalBottomRecord(IOSSFactory* pFactory, const char* Extension);

    VeskEventCode_T readDB() override;
    VeskEventCode_T writeDB() override;

    int32_t GetDepth() const { return m_Depth; }
    uint8_t GetState() const { return m_State; }
    // In memory only; call writeDB() to store.
    void SetDepth(int32_t Depth) { m_Depth = Depth; }
    void SetState(uint8_t State) { m_State = State; }

protected:
    void SetDefaults() override;

private:
    static const DatabaseFileDescription_T cFileDescription;

    int32_t m_Depth = cNoBottom;
    uint8_t m_State = cStateNotInUse;
};

#endif
