#pragma once
// TokenPrivilege: one privilege of the calling thread's token, by its programmatic name
// ("SeBackupPrivilege"). Every query and change opens the token afresh, so the answers
// follow the thread's current identity. The name is not checked against the token: a
// privilege the token does not hold reads as disabled, and enabling it changes nothing.

#include "frame/com_object.h"
#include "frame/contract.h"

#include <string>

namespace vofs {

class TokenPrivilege final : public ComObject<TokenPrivilege, _TokenPrivilege> {
public:
    static constexpr wchar_t kClassName[] = L"TokenPrivilege";

    const std::wstring& Name() const { return name_; }
    const std::wstring& SystemName() const { return systemName_; }

    // ---- _TokenPrivilege
    HRESULT STDMETHODCALLTYPE get_Name(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_Description(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_SystemName(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_IsEnabled(VARIANT_BOOL* value) override;
    // Both answer true whenever the platform call succeeds.
    HRESULT STDMETHODCALLTYPE Enable(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE Disable(VARIANT_BOOL* value) override;
    // Always NoPrivilegeChange: no member records a change.
    HRESULT STDMETHODCALLTYPE get_LastStateChange(PrivilegeStateChange* value) override;

private:
    friend class ComObject<TokenPrivilege, _TokenPrivilege>;
    // An empty system name is replaced by this computer's name.
    TokenPrivilege(std::wstring name, std::wstring systemName);

    std::wstring name_;
    std::wstring systemName_;
};

}  // namespace vofs
