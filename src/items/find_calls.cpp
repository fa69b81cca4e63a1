#include "items/find_calls.h"

#include "common/ansi.h"
#include "items/find_record.h"

namespace vofs {

FindHandle FindFirst(const std::wstring& pattern, long version, void* buffer) {
    if (version == find_record::kWide) {
        return FindHandle(api.FindFirstFileW(pattern.c_str(), static_cast<WIN32_FIND_DATAW*>(buffer)));
    }
    return FindHandle(api.FindFirstFileA(ToAnsi(pattern).c_str(), static_cast<WIN32_FIND_DATAA*>(buffer)));
}

bool FindNext(HANDLE search, FindDataRecord& record) {
    if (record.Version() == find_record::kWide) {
        return api.FindNextFileW(search, static_cast<WIN32_FIND_DATAW*>(record.Buffer())) != FALSE;
    }
    return api.FindNextFileA(search, static_cast<WIN32_FIND_DATAA*>(record.Buffer())) != FALSE;
}

}  // namespace vofs
