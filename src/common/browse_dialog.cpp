#include "common/browse_dialog.h"

#include "common/ansi.h"
#include "common/handles.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "common/thread_state.h"

#include <optional>
#include <string>

namespace vofs {
namespace {

// Selects the default folder once the dialog is up. The application value is the
// address of the folder's text: UTF-16 on the NT family, system code page elsewhere.
int CALLBACK SelectDefaultFolder(HWND dialog, UINT message, LPARAM, LPARAM folder) {
    if (message == BFFM_INITIALIZED) {
        if (IsPlatformNT()) {
            SendMessageW(dialog, BFFM_SETSELECTIONW, TRUE, folder);
        } else {
            SendMessageA(dialog, BFFM_SETSELECTIONA, TRUE, folder);
        }
    }
    return 0;
}

std::optional<std::wstring> PathOfItem(LPCITEMIDLIST item) {
    constexpr size_t kBufferLength = 520;  // 519 blanks and a NUL
    if (UseWideCalls()) {
        std::wstring buffer(kBufferLength - 1, L' ');
        if (!api.SHGetPathFromIDListW(item, buffer.data())) return std::nullopt;
        return std::wstring(TextBeforeNul(buffer));
    }
    std::string buffer(kBufferLength - 1, ' ');
    if (!api.SHGetPathFromIDListA(item, buffer.data())) return std::nullopt;
    return FromAnsi(TextBeforeNul(buffer));
}

}  // namespace

std::wstring BrowseToFolder(HWND owner, int topFolder, const std::wstring& title, UINT flags,
                            const std::wstring& defaultFolder) {
    std::wstring result = defaultFolder;

    LPITEMIDLIST root = nullptr;
    api.SHGetSpecialFolderLocation(owner, topFolder, &root);
    const TaskMemory rootMemory(root);

    const std::string ansiTitle = ToAnsi(title);
    const std::string ansiDefault = ToAnsi(defaultFolder);
    BROWSEINFOA info{};
    info.hwndOwner = owner;
    info.pidlRoot = root;
    info.lpszTitle = ansiTitle.c_str();
    info.ulFlags = flags;
    // A default folder the platform cannot carry is not selected: the dialog opens as if
    // none were given, as it does for any folder it cannot find.
    if (!defaultFolder.empty() && FitsPlatform(defaultFolder)) {
        info.lpfn = &SelectDefaultFolder;
        info.lParam = IsPlatformNT() ? reinterpret_cast<LPARAM>(defaultFolder.c_str())
                                     : reinterpret_cast<LPARAM>(ansiDefault.c_str());
    }

    LPITEMIDLIST chosen = api.SHBrowseForFolderA(&info);
    const TaskMemory chosenMemory(chosen);
    if (chosen) {
        if (std::optional<std::wstring> path = PathOfItem(chosen)) result = std::move(*path);
    }
    return result;
}

}  // namespace vofs
