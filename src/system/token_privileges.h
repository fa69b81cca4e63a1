#pragma once
// TokenPrivileges: the names of the privileges the calling thread's token holds, read
// when the collection is made and again on Refresh, and TokenPrivilege objects by
// position, by name or by PrivilegeNames value. On a platform outside the NT family there
// is no collection: Count raises error 91 and the object members answer Nothing.
// NewEnum hands out the names (strings); it is not the collection's enumerator member,
// so For Each does not walk this collection.

#include "frame/com_object.h"
#include "frame/contract.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vofs {

class TokenPrivilege;

class TokenPrivileges final : public ComObject<TokenPrivileges, _TokenPrivileges> {
public:
    static constexpr wchar_t kClassName[] = L"TokenPrivileges";

    // The name of a PrivilegeNames value (1 to 28); empty for any other number.
    static std::wstring_view IndexToPrivilegeName(long index);

    // Reads the token's privilege names (nothing off the NT family); a failure leaves the
    // collection as it was. (Refresh.)
    void ReadNames();
    // The privilege at a 1-based position (error 9 outside the collection), as
    // GetNamedPrivilege of its name.
    ComPtr<TokenPrivilege> Item(const VARIANT& index) const;
    // A privilege by name (a String) or by PrivilegeNames value (anything else, converted
    // to Long), on `systemName` (this computer when empty).
    ComPtr<TokenPrivilege> GetNamedPrivilege(const VARIANT& index, std::wstring systemName) const;

    // ---- _TokenPrivileges
    HRESULT STDMETHODCALLTYPE Refresh() override;
    HRESULT STDMETHODCALLTYPE get_Item(VARIANT Index, _TokenPrivilege** value) override;
    HRESULT STDMETHODCALLTYPE get_Count(LONG* value) override;
    HRESULT STDMETHODCALLTYPE NewEnum(IUnknown** value) override;
    HRESULT STDMETHODCALLTYPE GetNamedPrivilege(VARIANT Index, BSTR SystemName, _TokenPrivilege** value) override;
    HRESULT STDMETHODCALLTYPE IndexToPrivilegeName(PrivilegeNames Index, BSTR* value) override;

private:
    friend class ComObject<TokenPrivileges, _TokenPrivileges>;
    TokenPrivileges();

    const std::vector<std::wstring>& Names() const;

    // None until a read succeeds; never any off the NT family.
    std::optional<std::vector<std::wstring>> names_;
};

}  // namespace vofs
