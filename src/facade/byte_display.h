#pragma once
// Byte counts as text for display, in the styles Explorer uses.

#include "common/platform_headers.h"

#include <string>

namespace vofs {

enum ByteDisplayFlags : long {
    kDisplayAsExplorer = 1,
    kDisplayAsDrive = 2,
    kDisplayAsFolder = 4,
};

// Value is any automation value that converts to a decimal; all arithmetic is decimal.
std::wstring FormatByteDisplay(const VARIANT& value, long displayType);

}  // namespace vofs
