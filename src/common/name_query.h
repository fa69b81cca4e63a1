#pragma once
// Names that platform calls write into a character buffer (the computer's, the user's),
// asked for through the wide or the ANSI form of the call.

#include "common/ansi.h"
#include "common/platform_headers.h"
#include "common/system_error.h"

#include <optional>
#include <string>
#include <type_traits>

namespace vofs {

// Runs `call(buffer, &length)` on a zeroed buffer of `length` characters; `call` answers
// whether it succeeded. The name is the buffer's text before its first NUL.
template <class Char, class Call>
std::optional<std::wstring> QueryName(DWORD length, Call&& call) {
    std::basic_string<Char> buffer(length, Char{});
    if (!call(buffer.data(), &length)) return std::nullopt;
    const std::basic_string_view<Char> name = TextBeforeNul(std::basic_string_view<Char>(buffer));
    if constexpr (std::is_same_v<Char, wchar_t>) {
        return std::wstring(name);
    } else {
        return FromAnsi(name);
    }
}

}  // namespace vofs
