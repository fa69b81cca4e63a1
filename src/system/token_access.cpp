#include "system/token_access.h"

#include "common/ansi.h"
#include "common/error.h"
#include "common/handles.h"
#include "common/name_query.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "common/thread_state.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

namespace vofs::token {
namespace {

constexpr DWORD kQueryAccess = TOKEN_QUERY | READ_CONTROL;                 // &H20008
constexpr DWORD kAdjustAccess = kQueryAccess | TOKEN_ADJUST_PRIVILEGES;   // &H20028
// A privilege count and at most 41 entries of LUID and attributes.
constexpr DWORD kPrivilegeBufferSize = 496;
constexpr DWORD kNameBufferLength = 256;
constexpr DWORD kDisplayNameBufferLength = 512;
constexpr wchar_t kPrivilegeClassName[] = L"TokenPrivilege";

// Raises one of the fixed messages with the thread's last platform error.
[[noreturn]] void RaiseFailed(std::wstring_view message) { RaiseSystemError(0, {}, message); }

// Runs one operation; whatever it raises reaches the caller with the module's source.
template <class Body>
auto AsModuleOperation(Body&& body) -> decltype(body()) {
    try {
        return body();
    } catch (const AutomationError& error) {
        throw error.WithSource(kModuleName);
    }
}

// The thread's token when it has one, else the process's. The thread token is opened
// with OpenAsSelf when listing and without it otherwise.
KernelHandle OpenCurrentToken(DWORD access, bool openAsSelf) {
    HANDLE token = nullptr;
    api.OpenThreadToken(GetCurrentThread(), access, openAsSelf, &token);
    if (IsNoHandle(token)) {
        token = nullptr;
        if (!api.OpenProcessToken(GetCurrentProcess(), access, &token) || IsNoHandle(token)) {
            RaiseFailed(L"OpenProcessToken failed.");
        }
    }
    return KernelHandle(token);
}

// The system name as the ANSI calls take it: none for an empty name.
struct SystemNameArgument {
    explicit SystemNameArgument(const std::wstring& name) {
        if (!name.empty()) text = ToAnsi(name);
    }
    const char* Get() const { return text ? text->c_str() : nullptr; }
    std::optional<std::string> text;
};

LUID PrivilegeValue(const std::wstring& systemName, const std::wstring& name) {
    LUID value{};
    if (!api.LookupPrivilegeValueA(SystemNameArgument(systemName).Get(), ToAnsi(name).c_str(), &value)) {
        RaiseFailed(L"LookupPrivilegeValue failed.");
    }
    return value;
}

}  // namespace

std::vector<std::wstring> PrivilegeNames() {
    return AsModuleOperation([] {
        const KernelHandle token = OpenCurrentToken(kQueryAccess, true);
        alignas(TOKEN_PRIVILEGES) std::array<BYTE, kPrivilegeBufferSize> buffer{};
        DWORD returned = 0;
        if (!api.GetTokenInformation(token.Get(), TokenPrivileges, buffer.data(), kPrivilegeBufferSize, &returned)) {
            RaiseFailed(L"LookupPrivilegeValue failed.");
        }
        const auto* privileges = reinterpret_cast<const TOKEN_PRIVILEGES*>(buffer.data());
        constexpr DWORD kMostEntries =
            (kPrivilegeBufferSize - offsetof(TOKEN_PRIVILEGES, Privileges)) / sizeof(LUID_AND_ATTRIBUTES);
        const DWORD count = std::min<DWORD>(privileges->PrivilegeCount, kMostEntries);
        std::vector<std::wstring> names;
        names.reserve(count);
        for (DWORD i = 0; i < count; ++i) {
            LUID value = privileges->Privileges[i].Luid;
            std::array<char, kNameBufferLength> name{};
            DWORD length = kNameBufferLength;
            if (!api.LookupPrivilegeNameA(nullptr, &value, name.data(), &length)) {
                RaiseSystemError(static_cast<long>(GetLastError()), kModuleName);
            }
            names.push_back(FromAnsi(TextBeforeNul(std::string_view(name.data(), name.size()))));
        }
        return names;
    });
}

bool IsEnabled(const std::wstring& systemName, const std::wstring& name) {
    return AsModuleOperation([&] {
        const KernelHandle token = OpenCurrentToken(kQueryAccess, false);
        PRIVILEGE_SET set{1, PRIVILEGE_SET_ALL_NECESSARY, {{PrivilegeValue(systemName, name), 0}}};
        BOOL enabled = FALSE;
        if (!api.PrivilegeCheck(token.Get(), &set, &enabled)) RaiseFailed(L"PrivilegeCheck failed.");
        return enabled != FALSE;
    });
}

void Adjust(const std::wstring& systemName, const std::wstring& name, bool enable) {
    AsModuleOperation([&] {
        const KernelHandle token = OpenCurrentToken(kAdjustAccess, false);
        TOKEN_PRIVILEGES change{1, {{PrivilegeValue(systemName, name), enable ? SE_PRIVILEGE_ENABLED : 0u}}};
        if (!api.AdjustTokenPrivileges(token.Get(), FALSE, &change, 0, nullptr, nullptr)) {
            RaiseFailed(L"AdjustTokenPrivileges failed.");
        }
    });
}

std::wstring DisplayName(const std::wstring& systemName, const std::wstring& name) {
    std::array<char, kDisplayNameBufferLength> text{};
    DWORD length = kDisplayNameBufferLength;
    DWORD language = GetUserDefaultLCID();
    SetLastError(NO_ERROR);
    if (!api.LookupPrivilegeDisplayNameA(SystemNameArgument(systemName).Get(), ToAnsi(name).c_str(), text.data(),
                                         &length, &language)) {
        // A platform without display names fails without saying why: not implemented.
        const DWORD error = GetLastError();
        RaiseSystemError(static_cast<long>(error ? error : ERROR_CALL_NOT_IMPLEMENTED), kPrivilegeClassName);
    }
    return FromAnsi(std::string_view(text.data(), std::min(length, kDisplayNameBufferLength)));
}

std::wstring LocalComputerName() {
    constexpr DWORD kLength = MAX_COMPUTERNAME_LENGTH + 1;
    const std::optional<std::wstring> name =
        UseWideCalls() ? QueryName<wchar_t>(kLength, [](wchar_t* text, DWORD* length) { return api.GetComputerNameW(text, length); })
                       : QueryName<char>(kLength, [](char* text, DWORD* length) { return api.GetComputerNameA(text, length); });
    if (!name) RaiseSystemError(static_cast<long>(GetLastError()), kPrivilegeClassName);
    return *name;
}

}  // namespace vofs::token
