#include "system/token_privileges.h"

#include "common/thread_state.h"
#include "frame/value_enumerator.h"
#include "system/token_access.h"
#include "system/token_privilege.h"

#include <array>
#include <utility>

namespace vofs {
namespace {

// The PrivilegeNames values 1 to 28, in order.
constexpr std::array<std::wstring_view, 28> kPrivilegeNames = {
    L"SeCreateTokenPrivilege", L"SeAssignPrimaryTokenPrivilege", L"SeLockMemoryPrivilege",
    L"SeIncreaseQuotaPrivilege", L"SeUnsolicitedInputPrivilege", L"SeMachineAccountPrivilege",
    L"SeTcbPrivilege", L"SeSecurityPrivilege", L"SeTakeOwnershipPrivilege",
    L"SeLoadDriverPrivilege", L"SeSystemProfilePrivilege", L"SeSystemtimePrivilege",
    L"SeProfileSingleProcessPrivilege", L"SeIncreaseBasePriorityPrivilege", L"SeCreatePagefilePrivilege",
    L"SeCreatePermanentPrivilege", L"SeBackupPrivilege", L"SeRestorePrivilege",
    L"SeShutdownPrivilege", L"SeDebugPrivilege", L"SeAuditPrivilege",
    L"SeSystemEnvironmentPrivilege", L"SeChangeNotifyPrivilege", L"SeRemoteShutdownPrivilege",
    L"SeUndockPrivilege", L"SeSyncAgentPrivilege", L"SeEnableDelegationPrivilege",
    L"SeManageVolumePrivilege",
};

}  // namespace

TokenPrivileges::TokenPrivileges() {
    try {
        ReadNames();
    } catch (const AutomationError&) {
        // A collection whose token could not be read has no names until a Refresh succeeds.
    }
}

std::wstring_view TokenPrivileges::IndexToPrivilegeName(long index) {
    if (index < 1 || index > static_cast<long>(kPrivilegeNames.size())) return {};
    return kPrivilegeNames[static_cast<size_t>(index - 1)];
}

void TokenPrivileges::ReadNames() {
    if (IsPlatformNT()) names_ = token::PrivilegeNames();
}

const std::vector<std::wstring>& TokenPrivileges::Names() const {
    if (!names_) Raise(RunTimeError::ObjectNotSet);
    return *names_;
}

ComPtr<TokenPrivilege> TokenPrivileges::Item(const VARIANT& index) const {
    if (!IsPlatformNT()) return nullptr;
    const std::vector<std::wstring>& names = Names();
    const LONG position = ToLong(index);
    if (position < 1 || position > static_cast<LONG>(names.size())) Raise(RunTimeError::SubscriptOutOfRange);
    return TokenPrivilege::Make(names[static_cast<size_t>(position - 1)], std::wstring());
}

ComPtr<TokenPrivilege> TokenPrivileges::GetNamedPrivilege(const VARIANT& index, std::wstring systemName) const {
    if (!IsPlatformNT()) return nullptr;
    const Variant actual = Variant::CopyOf(index);
    std::wstring name = actual.Type() == VT_BSTR ? ToString(*actual.Get())
                                                 : std::wstring(IndexToPrivilegeName(ToLong(*actual.Get())));
    return TokenPrivilege::Make(std::move(name), std::move(systemName));
}

// ---- _TokenPrivileges

HRESULT TokenPrivileges::Refresh() {
    return Run([&] { ReadNames(); });
}

HRESULT TokenPrivileges::get_Item(VARIANT Index, _TokenPrivilege** value) {
    return Get(value, [&] { return Item(Index); });
}

HRESULT TokenPrivileges::get_Count(LONG* value) {
    return Get(value, [&] { return static_cast<LONG>(Names().size()); });
}

HRESULT TokenPrivileges::NewEnum(IUnknown** value) {
    return Get(value, [&]() -> ComPtr<ValueEnumerator> {
        if (!IsPlatformNT()) return nullptr;
        std::vector<Variant> names;
        for (const std::wstring& name : Names()) names.push_back(Variant::FromString(name));
        return ValueEnumerator::Make(std::move(names));
    });
}

HRESULT TokenPrivileges::GetNamedPrivilege(VARIANT Index, BSTR SystemName, _TokenPrivilege** value) {
    return Get(value, [&] { return GetNamedPrivilege(Index, std::wstring(Bstr::View(SystemName))); });
}

HRESULT TokenPrivileges::IndexToPrivilegeName(PrivilegeNames Index, BSTR* value) {
    return Get(value, [&] { return IndexToPrivilegeName(Index); });
}

}  // namespace vofs
