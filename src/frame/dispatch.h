#pragma once
// IDispatch for one dual interface. Names and members come from a table read once from
// the interface's own type information (a class that implements _Path and _IPath derives
// from one DispatchOf<> per interface, so each vtable dispatches through its own table).
//
// The library binds and converts every argument itself before a member runs, and calls
// the member through its vtable slot: a call is either made with arguments of the
// member's own types, or refused with the dispatch error a caller expects (type
// mismatch or overflow with the argument's position, a missing or extra argument), or
// it fails with an automation error carrying number, source and description. Nothing
// made for a call outlives it.

#include "common/platform_headers.h"
#include "frame/member_table.h"

#include <memory>

namespace vofs {

// The dispatch data of one interface, made once per interface and kept for the module's life.
class InterfaceDispatch {
public:
    explicit InterfaceDispatch(REFIID iid);

    ITypeInfo* Info() const { return info_.Get(); }

    HRESULT GetIDsOfNames(LPOLESTR* names, UINT count, DISPID* ids) const;

    // Calls a member of `self` (a pointer to this interface). A literal given for an
    // in/out VARIANT* parameter goes to the member as a temporary copy, a variable by
    // reference, so both `f x` and `f 5` work. A property get that takes no arguments but
    // is given some hands them to its result's default member (`lib.Volumes(1)`); a
    // result of Nothing then raises run-time error 91.
    HRESULT Invoke(IUnknown* self, DISPID member, WORD flags, DISPPARAMS* params, VARIANT* result,
                   EXCEPINFO* exception, UINT* argumentError) const;

private:
    HRESULT InvokeDefaultOfResult(IUnknown* self, const Member& member, WORD flags, const DISPPARAMS& params,
                                  VARIANT* result, EXCEPINFO* exception, UINT* argumentError) const;

    ComPtr<ITypeInfo> info_;
    std::unique_ptr<const MemberTable> members_;
};

template <class Interface>
class DispatchOf : public Interface {
public:
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        if (!count) return E_POINTER;
        *count = 1;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
        if (!info) return E_POINTER;
        *info = nullptr;
        if (index != 0) return DISP_E_BADINDEX;
        ITypeInfo* known = Dispatch().Info();
        if (!known) return TYPE_E_ELEMENTNOTFOUND;
        known->AddRef();
        *info = known;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        return Dispatch().GetIDsOfNames(names, count, ids);
    }

    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* params,
                                     VARIANT* result, EXCEPINFO* exception, UINT* argumentError) override {
        return Dispatch().Invoke(static_cast<Interface*>(this), member, flags, params, result, exception,
                                 argumentError);
    }

private:
    static const InterfaceDispatch& Dispatch() {
        static const InterfaceDispatch dispatch(__uuidof(Interface));
        return dispatch;
    }
};

}  // namespace vofs
