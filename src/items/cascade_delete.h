#pragma once
// Deleting a tree, written only against IFolderItem and IFolderEnumerator, so that local
// and FTP items share it.

#include "frame/contract.h"

#include <string>

namespace vofs {

struct CascadeOptions {
    std::wstring filter;  // handed down to the subfolders' calls; no folder's own walk uses it
    bool ignoreErrors = false;
    bool contentsOnly = false;
    bool includeSubFolders = true;
    bool recurse = true;  // carried down unchanged; it decides nothing
};

// A file is deleted. A folder's entries are deleted in the order the platform lists them:
// files with Delete; subfolders (when included) with their own CascadeDelete, then a
// second Delete of the same entry (which fails for a subfolder that had contents, since
// its own call removed it; raised unless errors are ignored). Then, unless only the
// contents were asked for, the folder itself. A folder whose walk finds no first entry is
// left in place. With ignoreErrors every failing step is skipped and the work goes on.
void CascadeDelete(_IFolderItem* item, const CascadeOptions& options);

}  // namespace vofs
