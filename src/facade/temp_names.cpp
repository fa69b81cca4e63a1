#include "facade/temp_names.h"

#include "common/error.h"
#include "common/platform_headers.h"
#include "common/file_calls.h"
#include "common/host_process.h"
#include "common/item_exists.h"
#include "common/thread_state.h"
#include "paths/path_text.h"

namespace vofs {

std::wstring TempFolderPath() {
    // The buffer-size factor follows the stored setting, not the wide-call rule.
    const DWORD factor = ThisThread().wideCallSupport == kAutoDetect ? 1 : 2;
    std::wstring text;
    const DWORD needed = fs::TempPath(0, text);
    if (fs::TempPath(needed * factor, text) < 1) return HostApplicationFolder();
    return text;
}

std::wstring UniqueTempName(std::wstring seed, std::wstring extension, std::wstring folder) {
    if (extension.empty()) extension = L"tmp";
    if (folder.empty()) folder = TempFolderPath();
    folder = path_text::NormalizePath(folder);
    if (seed.empty()) seed = HostApplicationName();
    const std::wstring stem = seed.substr(0, 3) + L"~";
    for (int number = 1; number <= 9999; ++number) {
        wchar_t digits[8] = {};
        wsprintfW(digits, L"%04d", number);
        std::wstring candidate = folder + stem + digits + L"." + extension;
        if (!ItemExists(candidate, false).exists) return candidate;
    }
    Raise(RunTimeError::InvalidCall, {}, L"Could not get temporary file name.");
}

}  // namespace vofs
