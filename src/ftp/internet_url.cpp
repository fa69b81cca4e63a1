#include "ftp/internet_url.h"

#include "common/ansi.h"
#include "common/platform_api.h"
#include "common/thread_state.h"

#include <string>

namespace vofs {
namespace {

// The layer is asked once with a one-character buffer to learn the length it needs
// (failing with "buffer too small"), then with a buffer of that length.
template <class Char, class Call>
std::basic_string<Char> Canonicalize(const std::basic_string<Char>& url, DWORD flags, Call call) {
    Char probe[1] = {};
    DWORD length = 1;
    if (call(url.c_str(), probe, &length, flags)) return std::basic_string<Char>(probe, length);
    if (GetLastError() != ERROR_INSUFFICIENT_BUFFER || length == 0) return url;
    std::basic_string<Char> buffer(length, Char{});
    if (!call(url.c_str(), buffer.data(), &length, flags)) return url;
    buffer.resize(length < buffer.size() ? length : buffer.size());
    return buffer;
}

}  // namespace

std::wstring CanonicalizeUrl(std::wstring_view url, DWORD flags) {
    if (url.empty()) return {};
    if (FtpUseWideCalls()) return Canonicalize(std::wstring(url), flags, api.InternetCanonicalizeUrlW);
    return FromAnsi(Canonicalize(ToAnsi(url), flags, api.InternetCanonicalizeUrlA));
}

}  // namespace vofs
