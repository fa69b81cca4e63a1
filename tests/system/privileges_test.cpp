// Token privileges and the Impersonator: the real token where Wine has one, and through the
// seam what it lacks or what must fail (display names, refused logons and impersonations, a
// token too large to list, every fixed message), with every token handle counted.

#include "common/platform_api.h"
#include "common/system_error.h"
#include "system/impersonator.h"
#include "system/token_privilege.h"
#include "system/token_privileges.h"
#include "support/test_support.h"

#include <functional>
#include <string>
#include <tuple>
#include <vector>

namespace vofs::testing {
namespace {

std::vector<std::string> seen;  // what the stand-ins were asked, in order
int tokensOpen = 0;
const void* refused = nullptr;  // the platform call that fails, with this error
DWORD refusal = NO_ERROR;

template <class Function>
const void* Id(Function* function) { return reinterpret_cast<const void*>(function); }

// A platform call that fails when it is the refused one and runs otherwise.
template <auto Real> struct Gate;
template <class... Args, BOOL(WINAPI* Real)(Args...)>
struct Gate<Real> {
    static BOOL WINAPI Call(Args... args) {
        if (refused != Id(Real)) return Real(args...);
        SetLastError(refusal);
        return FALSE;
    }
};
BOOL WINAPI NoThreadToken(HANDLE, DWORD access, BOOL asSelf, HANDLE* token) {
    seen.push_back(std::to_string(access) + (asSelf ? " self" : " thread"));
    *token = nullptr;
    return FALSE;
}
BOOL WINAPI CountedProcessToken(HANDLE process, DWORD access, HANDLE* token) {
    return tokensOpen += OpenProcessToken(process, access, token), TRUE;
}
BOOL WINAPI CountedClose(HANDLE handle) { return --tokensOpen, CloseHandle(handle); }
BOOL WINAPI DisplayNameFor(LPCSTR system, LPCSTR name, LPSTR text, LPDWORD length, LPDWORD language) {
    seen.push_back(std::string(system) + " " + name + " " + std::to_string(*length) + (*language == GetUserDefaultLCID() ? " user" : ""));
    return lstrcpyA(text, "Back up files and directories (and more)"), *length = 29, TRUE;
}
BOOL WINAPI Logon(LPCSTR user, LPCSTR domain, LPCSTR password, DWORD type, DWORD provider, HANDLE* token) {
    seen.push_back(std::string(domain) + "\\" + user + ":" + password + " " + std::to_string(type) + std::to_string(provider));
    *token = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    return ++tokensOpen, TRUE;
}
BOOL WINAPI Revert() { return seen.push_back("revert"), TRUE; }
DWORD APIENTRY NoNetworkUser(LPCWSTR, LPWSTR, LPDWORD) { return ERROR_NO_NETWORK; }

class Privileges : public ::testing::Test {
protected:
    void SetUp() override { seen.clear(), tokensOpen = 0, refused = nullptr; }
    ComPtr<TokenPrivilege> Named(const Variant& index) { return privileges_->GetNamedPrivilege(*index.Get(), L""); }

    ComPtr<TokenPrivileges> privileges_ = TokenPrivileges::Make();
    ApiOverride<&PlatformApi::OpenThreadToken> thread_{&NoThreadToken};
    ApiOverride<&PlatformApi::OpenProcessToken> process_{&Gate<&CountedProcessToken>::Call};
    ApiOverride<&PlatformApi::CloseHandle> close_{&CountedClose};
    ApiOverride<&PlatformApi::GetTokenInformation> information_{&Gate<&::GetTokenInformation>::Call};
    ApiOverride<&PlatformApi::LookupPrivilegeNameA> name_{&Gate<&::LookupPrivilegeNameA>::Call};
    ApiOverride<&PlatformApi::LookupPrivilegeValueA> value_{&Gate<&::LookupPrivilegeValueA>::Call};
    ApiOverride<&PlatformApi::PrivilegeCheck> check_{&Gate<&::PrivilegeCheck>::Call};
    ApiOverride<&PlatformApi::AdjustTokenPrivileges> adjust_{&Gate<&::AdjustTokenPrivileges>::Call};
    ApiOverride<&PlatformApi::LogonUserA> logon_{&Gate<&Logon>::Call};
    ApiOverride<&PlatformApi::ImpersonateLoggedOnUser> impersonate_{&Gate<&::ImpersonateLoggedOnUser>::Call};
    ApiOverride<&PlatformApi::RevertToSelf> revert_{&Revert};
};

TEST_F(Privileges, NamesNumbersAndTheRealToken) {
    for (const auto& [index, name] : {std::pair{0L, L""}, {1L, L"SeCreateTokenPrivilege"}, {28L, L"SeManageVolumePrivilege"}, {29L, L""}})
        EXPECT_EQ(TokenPrivileges::IndexToPrivilegeName(index), name) << index;
    EXPECT_EQ(Named(LongValue(20))->Name() + Named(StringValue(L"20"))->Name(), L"SeDebugPrivilege20") << "a String is a name";
    ASSERT_EQ(privileges_->Refresh(), S_OK);
    // Held (SeBackupPrivilege) and not held (SeCreateTokenPrivilege): every call succeeds.
    for (const auto& [index, held] : {std::pair{17L, true}, std::pair{1L, false}}) {
        ComPtr<TokenPrivilege> privilege = Named(LongValue(index));
        EXPECT_EQ(ValueOf<VARIANT_BOOL>(privilege.Get(), &TokenPrivilege::Enable), VARIANT_TRUE);
        EXPECT_EQ(ValueOf<VARIANT_BOOL>(privilege.Get(), &TokenPrivilege::get_IsEnabled), held ? VARIANT_TRUE : VARIANT_FALSE);
        EXPECT_EQ(ValueOf<VARIANT_BOOL>(privilege.Get(), &TokenPrivilege::Disable), VARIANT_TRUE);
        EXPECT_EQ(ValueOf<VARIANT_BOOL>(privilege.Get(), &TokenPrivilege::get_IsEnabled), VARIANT_FALSE);
    }
    std::vector<std::string> opened = {"131080 self"};  // &H20008 to list and check, &H20028 to adjust
    for (int i = 0; i < 4; ++i) opened.insert(opened.end(), {"131112 thread", "131080 thread"});
    EXPECT_EQ(seen, opened) << "listing opens the thread token as itself, the rest as the thread";
    EXPECT_EQ(tokensOpen, 0);
}

TEST_F(Privileges, EveryFailureRaisesItsMessageUnderTheModuleAndClosesTheToken) {
    ComPtr<TokenPrivilege> backup = Named(LongValue(17));
    VARIANT_BOOL answer;
    const std::tuple<const void*, DWORD, std::function<HRESULT()>, std::wstring> cases[] = {
        {Id(&::PrivilegeCheck), ERROR_ACCESS_DENIED, [&] { return backup->get_IsEnabled(&answer); }, L"PrivilegeCheck failed.\r\n"},
        {Id(&::AdjustTokenPrivileges), ERROR_ACCESS_DENIED, [&] { return backup->Enable(&answer); }, L"AdjustTokenPrivileges failed.\r\n"},
        {Id(&::LookupPrivilegeValueA), ERROR_NO_SUCH_PRIVILEGE, [&] { return backup->Disable(&answer); }, L"LookupPrivilegeValue failed.\r\n"},
        {Id(&CountedProcessToken), ERROR_ACCESS_DENIED, [&] { return backup->get_IsEnabled(&answer); }, L"OpenProcessToken failed.\r\n"},
        // more than 41 privileges do not fit; the names read before stay
        {Id(&::GetTokenInformation), ERROR_INSUFFICIENT_BUFFER, [&] { return privileges_->Refresh(); }, L"LookupPrivilegeValue failed.\r\n"},
        {Id(&::LookupPrivilegeNameA), ERROR_NONE_MAPPED, [&] { return privileges_->Refresh(); }, L""},
    };
    const LONG count = ValueOf<LONG>(privileges_.Get(), &TokenPrivileges::get_Count);
    for (const auto& [call, code, operation, message] : cases) {
        refused = call, refusal = code;
        const ErrorRecord error = TakeError(operation());
        EXPECT_EQ(Raised(error) + L" " + error.description, Raised(L"MTokenPrivileges", System(code)) + L" " + message + SystemErrorText(code));
        EXPECT_EQ(tokensOpen, 0) << Narrow(message);
    }
    EXPECT_EQ(ValueOf<LONG>(privileges_.Get(), &TokenPrivileges::get_Count), count);

    ApiOverride<&PlatformApi::LookupPrivilegeDisplayNameA> fake(&DisplayNameFor);
    const std::string text = Narrow(TextOf(backup.Get(), &TokenPrivilege::get_Description));
    EXPECT_EQ(text + "|" + seen.back(), "Back up files and directories|" + Narrow(backup->SystemName()) + " SeBackupPrivilege 512 user");
}

TEST_F(Privileges, ImpersonationLogsOnRevertsAndClosesItsToken) {
    ComPtr<Impersonator> impersonator = Impersonator::Make();
    const auto impersonate = [&](const wchar_t* user, long type) {
        return Raised(TakeError(impersonator->ImpersonateUser(Bstr(L"dom").Get(), Bstr(user).Get(), Bstr(L"pw").Get(), LogonTypes(type))));
    };
    refused = Id(&::ImpersonateLoggedOnUser), refusal = ERROR_ACCESS_DENIED;
    EXPECT_EQ(impersonate(L"caf\u00e9 \u4e2d", 0), Raised(L"Impersonator", System(ERROR_ACCESS_DENIED)));
    EXPECT_EQ(tokensOpen, 1) << "a refused impersonation keeps its token";
    refused = Id(&Logon), refusal = ERROR_LOGON_FAILURE;
    EXPECT_EQ(impersonate(L"x", NetworkLogon), Raised(L"Impersonator", System(ERROR_LOGON_FAILURE)));
    EXPECT_EQ(tokensOpen, 0) << "the second logon reverted the first";
    EXPECT_EQ(impersonator->RevertToSelf(), S_OK);
    impersonator.Reset();
    EXPECT_EQ(seen, (std::vector<std::string>{"dom\\caf\xe9 ?:pw 20", "revert", "revert", "revert"}))
        << "names in the system code page, type 0 taken as 2; the object's end reverts";

    ApiOverride<&PlatformApi::WNetGetUserW> noNetwork(&NoNetworkUser);
    wchar_t user[256];
    DWORD length = 256;
    EXPECT_EQ(Impersonator::UserID(), GetUserNameW(user, &length) ? user : L"?") << "the logon name without a network";
}

TEST(Win98Privileges, NothingOutsideTheNtFamily) {
    if (IsPlatformNT()) GTEST_SKIP() << "runs under the win98 program version only (cpp_tests_win98)";
    ComPtr<TokenPrivileges> privileges = TokenPrivileges::Make();
    LONG count;
    EXPECT_EQ(Raised(TakeError(privileges->get_Count(&count))), Raised(L"TokenPrivileges", RunTime(91)));
    EXPECT_FALSE(privileges->GetNamedPrivilege(*LongValue(17).Get(), L""));
    EXPECT_EQ(Raised(TakeError(Impersonator::Make()->RevertToSelf())), Raised(L"Impersonator", System(ERROR_CALL_NOT_IMPLEMENTED)));
}

}  // namespace
}  // namespace vofs::testing
