#include "common/item_exists.h"

#include "common/error.h"
#include "common/file_calls.h"
#include "common/system_error.h"
#include "paths/path_text.h"

namespace vofs {

ItemExistence ItemExists(const std::wstring& path, bool strict) {
    SetLastError(0);
    if (path.empty()) Raise(RunTimeError::InvalidCall, L"MFileSystemLib");
    ItemExistence result;
    result.attributes = fs::Attributes(path);
    if (result.attributes == INVALID_FILE_ATTRIBUTES) {
        const DWORD code = GetLastError();
        switch (code) {
            case ERROR_FILE_NOT_FOUND:
            case ERROR_PATH_NOT_FOUND:
                return result;
            case ERROR_ACCESS_DENIED:
            case ERROR_SHARING_PAUSED:
                result.attributes = fs::Attributes(path_text::ParentFromPath(path));
                result.exists = result.attributes != INVALID_FILE_ATTRIBUTES;
                return result;
            default:
                RaiseSystemError(static_cast<long>(code), L"MFileSystemLib");
        }
    }
    result.exists = !strict || (result.attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
    return result;
}

}  // namespace vofs
