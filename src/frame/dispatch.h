#pragma once
// IDispatch for one dual interface, answered by that interface's own type information.
// A class that implements several dual interfaces (Path implements _Path and _IPath)
// derives from one DispatchOf<> per interface, so each vtable dispatches through its own
// type information.

#include "common/platform_headers.h"

#include <cstdint>
#include <vector>

namespace vofs {

// The dispatch data of one interface, made once per interface and kept for the module's
// life: its type information, and the members that take in/out VARIANT* arguments.
class InterfaceDispatch {
public:
    explicit InterfaceDispatch(REFIID iid);

    ITypeInfo* Info() const { return info_.Get(); }

    // ITypeInfo::Invoke, coping with what script hosts send: a literal given for an
    // in/out VARIANT* parameter arrives by value and is passed on by reference to a
    // temporary copy, so both `f x` and `f 5` work.
    HRESULT Invoke(IUnknown* self, DISPID member, WORD flags, DISPPARAMS* params, VARIANT* result,
                   EXCEPINFO* exception, UINT* argumentError) const;

private:
    struct ReferenceParameters {
        DISPID member;
        uint32_t positions;  // bit n: parameter n is VARIANT*
    };
    uint32_t ReferencePositions(DISPID member) const;

    ComPtr<ITypeInfo> info_;
    std::vector<ReferenceParameters> references_;
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

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID,
                                            DISPID* ids) override {
        ITypeInfo* known = Dispatch().Info();
        return known ? DispGetIDsOfNames(known, names, count, ids) : TYPE_E_ELEMENTNOTFOUND;
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
