#include "tools/vesk/DbSetters.h"

#include <cctype>
#include <cstdint>
#include <functional>

#include "Database/DatabaseCommandMessage.h"
#include "Database/DatabaseErrorStatusMessage.h"
#include "Database/DatabaseLocalBottomRecord.h"
#include "Database/DatabaseSystemSettingsMessage.h"
#include "tools/vesk/StopSignal.h"

namespace {

// "DepthOffset", "depth offset" and "depth-offset" name the same field: the
// first as the setter names it, the second as vesk db show prints it.
std::string Normal(const std::string& Name)
{
    std::string normal;
    for (const unsigned char c : Name) {
        if (std::isalnum(c)) {
            normal += static_cast<char>(std::tolower(c));
        }
    }
    return normal;
}

struct FieldRange_T {
    const char* Name;
    long long Minimum;
    long long Maximum;
};

std::string ValidateAgainst(const std::vector<DbFieldValue_T>& Values, std::initializer_list<FieldRange_T> Ranges)
{
    for (const DbFieldValue_T& value : Values) {
        bool known = false;
        for (const FieldRange_T& range : Ranges) {
            if (Normal(value.Field) != Normal(range.Name)) {
                continue;
            }
            known = true;
            if (value.Value < range.Minimum || value.Value > range.Maximum) {
                return value.Field + " must lie in " + std::to_string(range.Minimum) + ".." +
                       std::to_string(range.Maximum);
            }
        }
        if (!known) {
            return "no settable field " + value.Field;
        }
    }
    return "";
}

// Another task may hold the file for a moment (-140): try again a while.
VeskEventCode_T StoreWhenFree(const std::function<VeskEventCode_T()>& Store)
{
    VeskEventCode_T result = FILE_ACCESS_DENIED;
    for (int attempt = 0; attempt < 2000 && result == FILE_ACCESS_DENIED; ++attempt) {
        result = Store();
        if (result == FILE_ACCESS_DENIED) {
            SleepMs(1);
        }
    }
    return result;
}

template <typename Record>
VeskEventCode_T LoadSetStore(Record& Target, const std::vector<DbFieldValue_T>& Values,
                             const std::function<void(Record&, const DbFieldValue_T&)>& Set, std::string& Path)
{
    Path = Target.GetDBFilePath();
    const VeskEventCode_T loaded = StoreWhenFree([&] { return Target.readDB(); });
    if (loaded != SUCCESS) {
        return loaded;
    }
    for (const DbFieldValue_T& value : Values) {
        Set(Target, value);
    }
    return StoreWhenFree([&] { return Target.writeDB(); });
}

std::string ValidateSystemSettings(const std::vector<DbFieldValue_T>& Values)
{
    return ValidateAgainst(Values, {{"DepthOffset", INT32_MIN, INT32_MAX}});
}

VeskEventCode_T ApplySystemSettings(IOSSFactory* pFactory, const std::string&,
                                    const std::vector<DbFieldValue_T>& Values, std::string& Path)
{
    CDatabaseSystemSettingsMessage record(pFactory);
    return LoadSetStore<CDatabaseSystemSettingsMessage>(
        record, Values,
        [](CDatabaseSystemSettingsMessage& r, const DbFieldValue_T& v) {
            r.SetDepthOffset(static_cast<int32_t>(v.Value));
        },
        Path);
}

std::string ValidateErrorStatus(const std::vector<DbFieldValue_T>& Values)
{
    return ValidateAgainst(Values, {{"ErrorStatus", 0, UINT32_MAX}});
}

VeskEventCode_T ApplyErrorStatus(IOSSFactory* pFactory, const std::string&, const std::vector<DbFieldValue_T>& Values,
                                 std::string& Path)
{
    CDatabaseErrorStatusMessage record(pFactory);
    Path = record.GetDBFilePath();
    VeskEventCode_T result = SUCCESS;
    for (const DbFieldValue_T& value : Values) {
        // The record stores the word at once, as the event reporter does.
        result = StoreWhenFree([&] { return record.SetErrorStatus(static_cast<uint32_t>(value.Value)); });
    }
    return result;
}

// The record's own validation stores a code it does not know as 0.
std::string ValidateCommand(const std::vector<DbFieldValue_T>& Values)
{
    return ValidateAgainst(Values, {{"CommandWord", 0, UINT32_MAX}, {"CommandCode", 0, UINT32_MAX}});
}

VeskEventCode_T ApplyCommand(IOSSFactory* pFactory, const std::string&, const std::vector<DbFieldValue_T>& Values,
                             std::string& Path)
{
    CDatabaseCommandMessage record(pFactory);
    return LoadSetStore<CDatabaseCommandMessage>(
        record, Values,
        [](CDatabaseCommandMessage& r, const DbFieldValue_T& v) {
            if (Normal(v.Field) == "commandword") {
                r.SetCommandWord(static_cast<uint32_t>(v.Value));
            } else {
                r.SetCommandCode(static_cast<uint32_t>(v.Value));
            }
        },
        Path);
}

std::string ValidateLocalBottom(const std::vector<DbFieldValue_T>& Values)
{
    return ValidateAgainst(Values, {{"Depth", INT32_MIN, INT32_MAX}, {"State", 0, 255}});
}

VeskEventCode_T ApplyLocalBottom(IOSSFactory* pFactory, const std::string& Extension,
                                 const std::vector<DbFieldValue_T>& Values, std::string& Path)
{
    CDatabaseLocalBottomRecord record(pFactory, Extension.c_str());
    return LoadSetStore<CDatabaseLocalBottomRecord>(
        record, Values,
        [](CDatabaseLocalBottomRecord& r, const DbFieldValue_T& v) {
            if (Normal(v.Field) == "depth") {
                r.SetDepth(static_cast<int32_t>(v.Value));
            } else {
                r.SetState(static_cast<uint8_t>(v.Value));
            }
        },
        Path);
}

} // namespace

const std::vector<DbSetter_T>& DbSetters()
{
    static const std::vector<DbSetter_T> cSetters = {
        {"SystemSettings", "DATABASE_DIR_SYSTEM_DATA", "DepthOffset (signed 32-bit)", &ValidateSystemSettings,
         &ApplySystemSettings},
        {"ErrorStatus", "NONPERSISTED_DATABASE_ROOT", "ErrorStatus (32-bit word, 0x... allowed)", &ValidateErrorStatus,
         &ApplyErrorStatus},
        {"Command", "NONPERSISTED_DATABASE_ROOT", "CommandWord, CommandCode (32-bit; unknown codes are stored as 0)",
         &ValidateCommand, &ApplyCommand},
        {"LocalBottom", "NONPERSISTED_DATABASE_ROOT",
         "Depth (signed 32-bit), State (0 not in use, 2 valid, other: no bottom)", &ValidateLocalBottom,
         &ApplyLocalBottom},
    };
    return cSetters;
}
