#pragma once
// Conversions between UTF-16 and the 8-bit code pages the ANSI platform calls use.

#include "common/bstr.h"

#include <string>
#include <string_view>

namespace vofs {

// The system (ANSI) code page; characters it lacks become its default character.
std::string ToAnsi(std::wstring_view text);
std::wstring FromAnsi(std::string_view text);

// The code page of the user's default locale, used for byte buffers of streams.
std::string ToUserAnsi(std::wstring_view text);
std::wstring FromUserAnsi(std::string_view text);
// The same conversion straight into a BSTR, for results: one allocation.
Bstr UserAnsiToBstr(std::string_view text);

}  // namespace vofs
