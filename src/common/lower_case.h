#pragma once
// Text in lower case by the platform's rules (CharLowerBuffW), for case-insensitive keys
// and comparisons.

#include "common/platform_headers.h"

#include <string>

namespace vofs {

inline std::wstring LowerCase(std::wstring text) {
    if (!text.empty()) CharLowerBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

}  // namespace vofs
