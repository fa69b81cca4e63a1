#pragma once
// FindFirstFile and FindNextFile into a find record, in the wide or the ANSI form that
// the record's layout (its Version) calls for.

#include "common/handles.h"
#include "items/find_data.h"

#include <string>

namespace vofs {

// Starts a search for a pattern (a platform path text, wildcards allowed), writing the
// first entry into `buffer`, laid out for `version` (2 wide, 1 ANSI). The handle is
// invalid when nothing was found; the platform's last error then says why.
FindHandle FindFirst(const std::wstring& pattern, long version, void* buffer);

// The next entry of a search into the record; false at the end or on failure (the
// platform's last error says which).
bool FindNext(HANDLE search, FindDataRecord& record);

}  // namespace vofs
