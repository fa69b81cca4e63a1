#pragma once
// Platform error codes as automation errors, with the platform's own text.

#include <string>
#include <string_view>

namespace vofs {

inline constexpr std::wstring_view kCrLf = L"\r\n";

// Raises the automation error for a platform error code: number &H80070000 + code,
// description = own text (ending in ".", "?" or "!") + separator + the platform's text.
// A code of 0 means the thread's last platform error; an empty source means the host
// application's name. Codes that do not fit the sum raise the overflow error.
[[noreturn]] void RaiseSystemError(long code, std::wstring_view source,
                                   std::wstring_view description = {},
                                   std::wstring_view helpFile = {}, long helpContext = 0,
                                   std::wstring_view separator = kCrLf);

// Raises the system error for the thread's last platform error, with that source, when a
// platform call reported failure.
void CheckPlatformCall(bool succeeded, std::wstring_view source);

// The platform's text for an error code, always ending in ".", "?" or "!" ("." alone when
// the platform has no text). Plain codes, HRESULTs of facility form, network-provider
// (1208), remote-access (600-799) and internet (12000-12999) codes are understood. The
// thread's last platform error is left as it was.
std::wstring SystemErrorText(long code, std::wstring_view separator = kCrLf);

// The internet layer's last server response on this thread (every line, CR LF between).
std::string ServerResponseText();

// The text before the first NUL character (all of it when there is none).
template <class Char>
std::basic_string_view<Char> TextBeforeNul(std::basic_string_view<Char> text) {
    return text.substr(0, text.find(Char{}));
}
inline std::wstring_view TextBeforeNul(const std::wstring& text) { return TextBeforeNul<wchar_t>(text); }
inline std::string_view TextBeforeNul(const std::string& text) { return TextBeforeNul<char>(text); }

}  // namespace vofs
