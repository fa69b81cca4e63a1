#include "system/token_privilege.h"

#include "system/token_access.h"

#include <utility>

namespace vofs {

TokenPrivilege::TokenPrivilege(std::wstring name, std::wstring systemName)
    : name_(std::move(name)), systemName_(systemName.empty() ? token::LocalComputerName() : std::move(systemName)) {}

HRESULT TokenPrivilege::get_Name(BSTR* value) {
    return Get(value, [&] { return name_; });
}

HRESULT TokenPrivilege::get_Description(BSTR* value) {
    return Get(value, [&] { return token::DisplayName(systemName_, name_); });
}

HRESULT TokenPrivilege::get_SystemName(BSTR* value) {
    return Get(value, [&] { return systemName_; });
}

HRESULT TokenPrivilege::get_IsEnabled(VARIANT_BOOL* value) {
    return Get(value, [&] { return token::IsEnabled(systemName_, name_); });
}

HRESULT TokenPrivilege::Enable(VARIANT_BOOL* value) {
    return Get(value, [&] {
        token::Adjust(systemName_, name_, true);
        return true;
    });
}

HRESULT TokenPrivilege::Disable(VARIANT_BOOL* value) {
    return Get(value, [&] {
        token::Adjust(systemName_, name_, false);
        return true;
    });
}

HRESULT TokenPrivilege::get_LastStateChange(PrivilegeStateChange* value) {
    return Get(value, [] { return static_cast<long>(NoPrivilegeChange); });
}

}  // namespace vofs
