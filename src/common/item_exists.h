#pragma once
// Whether a path names an existing file or folder (the routine behind FileExists,
// FolderExists and the search for a free temporary name).

#include "common/platform_headers.h"

#include <string>

namespace vofs {

struct ItemExistence {
    bool exists = false;
    // The attributes read: the item's own, or its parent's when the item itself could
    // not be read for lack of access; INVALID_FILE_ATTRIBUTES when none were read.
    DWORD attributes = INVALID_FILE_ATTRIBUTES;
};

// With strict, a folder does not count. Not-found codes (2, 3) answer false; access
// denied or a paused network (5, 70) answer from the parent; any other failure raises
// the system error with source "MFileSystemLib". An empty path raises error 5.
ItemExistence ItemExists(const std::wstring& path, bool strict);

}  // namespace vofs
