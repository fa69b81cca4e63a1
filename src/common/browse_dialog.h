#pragma once
// The shell's folder browser.

#include "common/platform_headers.h"

#include <string>

namespace vofs {

// Runs the folder browser owned by `owner`, rooted at the special folder `topFolder`,
// with `defaultFolder` selected when the dialog opens. Returns the chosen folder's path,
// or defaultFolder when the user cancels or the choice has no file-system path.
std::wstring BrowseToFolder(HWND owner, int topFolder, const std::wstring& title, UINT flags,
                            const std::wstring& defaultFolder);

}  // namespace vofs
