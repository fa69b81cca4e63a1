#include "common/ansi.h"

#include "common/platform_headers.h"

#include <algorithm>
#include <new>

namespace vofs {
namespace {

std::string Narrow(UINT codePage, std::wstring_view text) {
    if (text.empty()) return {};
    const int length = static_cast<int>(text.size());
    const int needed = WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<size_t>(needed), '\0');
    WideCharToMultiByte(codePage, 0, text.data(), length, result.data(), needed, nullptr, nullptr);
    return result;
}

std::wstring Widen(UINT codePage, std::string_view text) {
    if (text.empty()) return {};
    const int length = static_cast<int>(text.size());
    const int needed = MultiByteToWideChar(codePage, 0, text.data(), length, nullptr, 0);
    std::wstring result(static_cast<size_t>(needed), L'\0');
    MultiByteToWideChar(codePage, 0, text.data(), length, result.data(), needed);
    return result;
}

// Read once: streams convert every line, and the user's code page does not change while
// a process runs.
UINT UserCodePage() {
    static const UINT codePage = [] {
        UINT page = CP_ACP;
        GetLocaleInfoW(GetUserDefaultLCID(), LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER,
                       reinterpret_cast<LPWSTR>(&page), sizeof(page) / sizeof(WCHAR));
        return page;
    }();
    return codePage;
}

}  // namespace

std::string ToAnsi(std::wstring_view text) { return Narrow(CP_ACP, text); }
std::wstring FromAnsi(std::string_view text) { return Widen(CP_ACP, text); }
std::string ToUserAnsi(std::wstring_view text) { return Narrow(UserCodePage(), text); }
std::wstring FromUserAnsi(std::string_view text) { return Widen(UserCodePage(), text); }

Bstr UserAnsiToBstr(std::string_view text) {
    if (text.empty()) return Bstr(std::wstring_view());
    // No code page makes more characters than bytes: one conversion into a string that
    // long, cut when a double-byte code page made fewer.
    const int length = static_cast<int>(text.size());
    Bstr result;
    result.Reset(SysAllocStringLen(nullptr, static_cast<UINT>(length)));
    if (!result.Get()) throw std::bad_alloc();
    // Every ANSI code page of the platform keeps ASCII as it is: plain text needs no
    // conversion call.
    if (std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
        std::copy(text.begin(), text.end(), result.Get());
        return result;
    }
    const int made = MultiByteToWideChar(UserCodePage(), 0, text.data(), length, result.Get(), length);
    if (made == length) return result;
    return Bstr(std::wstring_view(result.Get(), static_cast<size_t>(made > 0 ? made : 0)));
}

}  // namespace vofs
