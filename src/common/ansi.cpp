#include "common/ansi.h"

#include "common/platform_headers.h"

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

UINT UserCodePage() {
    UINT codePage = CP_ACP;
    GetLocaleInfoW(GetUserDefaultLCID(), LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER,
                   reinterpret_cast<LPWSTR>(&codePage), sizeof(codePage) / sizeof(WCHAR));
    return codePage;
}

}  // namespace

std::string ToAnsi(std::wstring_view text) { return Narrow(CP_ACP, text); }
std::wstring FromAnsi(std::string_view text) { return Widen(CP_ACP, text); }
std::string ToUserAnsi(std::wstring_view text) { return Narrow(UserCodePage(), text); }
std::wstring FromUserAnsi(std::string_view text) { return Widen(UserCodePage(), text); }

}  // namespace vofs
