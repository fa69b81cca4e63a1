#pragma once
// Impersonator: runs the calling thread as another account. ImpersonateUser logs the
// account on (LogonUserA, names in the system code page) and impersonates the token;
// RevertToSelf ends the thread's impersonation and closes the token, and so does the
// object's end. Impersonation belongs to a thread: the object acts on the thread that
// calls it. Outside the NT family both members raise system error 120.

#include "common/handles.h"
#include "frame/com_object.h"
#include "frame/contract.h"

#include <string>
#include <string_view>

namespace vofs {

class Impersonator final : public ComObject<Impersonator, _Impersonator> {
public:
    static constexpr wchar_t kClassName[] = L"Impersonator";

    // Reverts a held impersonation first; a logon type of 0 means InteractiveLogon. A
    // failed logon holds nothing; a failed impersonation keeps the token until reverted.
    void ImpersonateUser(std::wstring_view domain, std::wstring_view user, std::wstring_view password,
                         long logonType);
    // Ends the thread's impersonation and closes the token. (RevertToSelf.)
    void EndImpersonation();
    // The account the thread runs as now (the network provider's user, else the logon
    // name); empty when neither answers. Never raises.
    static std::wstring UserID();

    // ---- _Impersonator
    HRESULT STDMETHODCALLTYPE ImpersonateUser(BSTR Domain, BSTR UserID, BSTR Password, LogonTypes LogonType) override;
    HRESULT STDMETHODCALLTYPE get_UserID(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE RevertToSelf() override;

private:
    friend class ComObject<Impersonator, _Impersonator>;
    Impersonator() = default;
    ~Impersonator() override;

    KernelHandle token_;
};

}  // namespace vofs
