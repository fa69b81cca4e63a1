#include "common/system_error.h"

#include "common/ansi.h"
#include "common/error.h"
#include "common/host_process.h"
#include "common/platform_api.h"

#include <string>

namespace vofs {

std::string ServerResponseText() {
    DWORD error = 0;
    DWORD length = 0;
    api.InternetGetLastResponseInfoA(&error, nullptr, &length);
    std::string buffer(length + 1, '\0');
    length = static_cast<DWORD>(buffer.size());
    if (!api.InternetGetLastResponseInfoA(&error, buffer.data(), &length)) return {};
    buffer.resize(length < buffer.size() ? length : buffer.size());
    return buffer;
}

namespace {

// Puts the thread's last platform error back when the text lookup is done.
class LastErrorKeeper {
public:
    LastErrorKeeper() : saved_(GetLastError()) {}
    ~LastErrorKeeper() { SetLastError(saved_); }
    DWORD Saved() const { return saved_; }

private:
    DWORD saved_;
};

std::string NetworkProviderText() {
    DWORD providerError = 0;
    std::string description(512, '\0');
    std::string provider(128, '\0');
    if (api.WNetGetLastErrorA(&providerError, description.data(), 512, provider.data(), 128) != NO_ERROR) {
        return {};
    }
    return std::string(TextBeforeNul(provider)) + " returned error #" + std::to_string(providerError) + " " +
           std::string(TextBeforeNul(description)) + ".";
}

std::string RemoteAccessText(long code) {
    std::string buffer(512, '\0');
    if (api.RasGetErrorStringA(static_cast<UINT>(code), buffer.data(), 512) != 0) return {};
    return std::string(TextBeforeNul(buffer));
}


std::string MessageTableText(DWORD flags, HMODULE module, long code) {
    std::string buffer(256, '\0');
    const DWORD length = api.FormatMessageA(flags, module, static_cast<DWORD>(code), 0, buffer.data(), 255, nullptr);
    buffer.resize(length);
    return buffer;
}

std::string PlatformText(long code) {
    if (code == 1208) return NetworkProviderText();
    if (code >= 600 && code <= 799) return RemoteAccessText(code);
    if (code == 12003) return ServerResponseText();
    if (code < 12000 || code > 12999) return MessageTableText(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code);
    const HMODULE internet = api.GetModuleHandleA("wininet.dll");
    return internet ? MessageTableText(FORMAT_MESSAGE_FROM_HMODULE, internet, code) : std::string();
}

bool EndsAsSentence(std::wstring_view text) {
    return !text.empty() && (text.back() == L'.' || text.back() == L'?' || text.back() == L'!');
}

std::wstring AsSentence(std::wstring text) {
    if (!EndsAsSentence(text)) text += L'.';
    return text;
}

std::wstring Trimmed(std::wstring_view text) {
    const size_t first = text.find_first_not_of(L' ');
    if (first == std::wstring_view::npos) return {};
    return std::wstring(text.substr(first, text.find_last_not_of(L' ') - first + 1));
}

}  // namespace

std::wstring SystemErrorText(long code, std::wstring_view separator) {
    const LastErrorKeeper keeper;
    if (code == 0) {
        code = static_cast<long>(keeper.Saved());
    } else if ((code & 0x8000) == 0) {
        code &= 0xFFFF;
    }
    SetLastError(0);

    std::wstring text = FromAnsi(PlatformText(code));
    if (separator != kCrLf) {
        const std::wstring replacement = separator.empty() ? std::wstring() : std::wstring(1, separator.front());
        for (size_t at = text.find(kCrLf); at != std::wstring::npos; at = text.find(kCrLf, at)) {
            text.replace(at, kCrLf.size(), replacement);
            at += replacement.size();
        }
    }
    if (text.size() >= 2 && std::wstring_view(text).substr(text.size() - 2) == kCrLf) text.resize(text.size() - 2);
    return AsSentence(std::move(text));
}

void CheckPlatformCall(bool succeeded, std::wstring_view source) {
    if (!succeeded) RaiseSystemError(static_cast<long>(GetLastError()), source);
}

void RaiseSystemError(long code, std::wstring_view source, std::wstring_view description,
                      std::wstring_view helpFile, long helpContext, std::wstring_view separator) {
    if (code == 0) code = static_cast<long>(GetLastError());
    std::wstring raisedSource = source.empty() ? HostApplicationName() : std::wstring(source);
    std::wstring text = SystemErrorText(code, separator);
    if (!description.empty()) text = AsSentence(Trimmed(description)) + std::wstring(separator) + text;
    // The number is &H80070000 + code in 32 bits; codes that do not fit overflow.
    if (code < 0 || code >= 0x7FF90000L) Raise(RunTimeError::Overflow, raisedSource);
    const auto number = static_cast<HRESULT>(0x80070000UL + static_cast<unsigned long>(code));
    throw AutomationError(number, std::move(text), std::move(raisedSource), std::wstring(helpFile),
                          static_cast<DWORD>(helpContext));
}

}  // namespace vofs
