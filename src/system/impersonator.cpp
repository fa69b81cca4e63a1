#include "system/impersonator.h"

#include "common/ansi.h"
#include "common/name_query.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "common/thread_state.h"

#include <optional>
#include <type_traits>

namespace vofs {
namespace {

// The user-name buffer, in characters.
constexpr DWORD kUserNameLength = 255;

void CheckPlatform() {
    if (!IsPlatformNT()) RaiseSystemError(ERROR_CALL_NOT_IMPLEMENTED, Impersonator::kClassName);
}

[[noreturn]] void RaiseLastError() { RaiseSystemError(static_cast<long>(GetLastError()), Impersonator::kClassName); }

template <class Char>
std::optional<std::wstring> NetworkUser() {
    return QueryName<Char>(kUserNameLength, [](Char* name, DWORD* length) {
        if constexpr (std::is_same_v<Char, wchar_t>) {
            return api.WNetGetUserW(nullptr, name, length) == NO_ERROR;
        } else {
            return api.WNetGetUserA(nullptr, name, length) == NO_ERROR;
        }
    });
}

template <class Char>
std::optional<std::wstring> LogonName() {
    return QueryName<Char>(kUserNameLength, [](Char* name, DWORD* length) {
        if constexpr (std::is_same_v<Char, wchar_t>) {
            return api.GetUserNameW(name, length) != FALSE;
        } else {
            return api.GetUserNameA(name, length) != FALSE;
        }
    });
}

}  // namespace

Impersonator::~Impersonator() {
    try {
        EndImpersonation();
    } catch (...) {
        // Ending the object never fails; outside the NT family there is nothing to end.
    }
}

void Impersonator::ImpersonateUser(std::wstring_view domain, std::wstring_view user, std::wstring_view password,
                                   long logonType) {
    CheckPlatform();
    if (token_) EndImpersonation();
    HANDLE token = nullptr;
    const BOOL loggedOn = api.LogonUserA(ToAnsi(user).c_str(), ToAnsi(domain).c_str(), ToAnsi(password).c_str(),
                                         logonType == 0 ? LOGON32_LOGON_INTERACTIVE : static_cast<DWORD>(logonType),
                                         LOGON32_PROVIDER_DEFAULT, &token);
    if (!loggedOn || IsNoHandle(token)) {
        const DWORD error = GetLastError();
        const KernelHandle discarded(token);  // a token that came with a failure is not kept
        RaiseSystemError(static_cast<long>(error), kClassName);
    }
    token_.Reset(token);
    if (!api.ImpersonateLoggedOnUser(token_.Get())) RaiseLastError();
}

void Impersonator::EndImpersonation() {
    CheckPlatform();
    api.RevertToSelf();
    token_.Close();
}

std::wstring Impersonator::UserID() {
    try {
        const bool wide = UseWideCalls();
        std::optional<std::wstring> name = wide ? NetworkUser<wchar_t>() : NetworkUser<char>();
        if (!name) name = wide ? LogonName<wchar_t>() : LogonName<char>();
        return name.value_or(std::wstring());
    } catch (...) {
        return {};
    }
}

// ---- _Impersonator

HRESULT Impersonator::ImpersonateUser(BSTR Domain, BSTR UserID, BSTR Password, LogonTypes LogonType) {
    return Run([&] { ImpersonateUser(Bstr::View(Domain), Bstr::View(UserID), Bstr::View(Password), LogonType); });
}

HRESULT Impersonator::get_UserID(BSTR* value) {
    return Get(value, [] { return UserID(); });
}

HRESULT Impersonator::RevertToSelf() {
    return Run([&] { EndImpersonation(); });
}

}  // namespace vofs
