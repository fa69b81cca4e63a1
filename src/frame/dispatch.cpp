#include "frame/dispatch.h"

#include "common/bstr.h"
#include "common/error.h"
#include "frame/library_object.h"
#include "frame/member_call.h"
#include "frame/type_library.h"

#include <new>

namespace vofs {
namespace {

constexpr long kObjectNotSet = static_cast<long>(RunTimeError::ObjectNotSet);

// The name an error of `self` is reported under when the member left no error
// information of its own: its class's name, or the interface's.
std::wstring SourceOf(IUnknown* self, ITypeInfo* info) {
    if (ComPtr<ILibraryObject> library; SUCCEEDED(self->QueryInterface(IID_PPV_ARGS(&library)))) {
        return library->Self()->ClassName();
    }
    Bstr name;
    if (info) info->GetDocumentation(MEMBERID_NIL, name.Receive(), nullptr, nullptr, nullptr);
    return std::wstring(name.View());
}

void FillException(EXCEPINFO* exception, HRESULT number, std::wstring_view source, std::wstring_view description,
                   BSTR helpFile = nullptr, DWORD helpContext = 0) {
    *exception = EXCEPINFO{};
    exception->bstrSource = SysAllocStringLen(source.data(), static_cast<UINT>(source.size()));
    exception->bstrDescription = SysAllocStringLen(description.data(), static_cast<UINT>(description.size()));
    exception->bstrHelpFile = helpFile;
    exception->dwHelpContext = helpContext;
    exception->scode = number;
}

// A member failed: its error information goes to the caller's EXCEPINFO, as a script
// host expects. Without an EXCEPINFO the HRESULT is returned and the thread's error
// information stays for the caller to read.
HRESULT ReportMemberFailure(HRESULT failure, IUnknown* self, ITypeInfo* info, EXCEPINFO* exception) {
    if (!exception) return failure;
    ComPtr<IErrorInfo> error;
    if (GetErrorInfo(0, &error) == S_OK && error) {
        Bstr source, description, helpFile;
        DWORD helpContext = 0;
        error->GetSource(source.Receive());
        error->GetDescription(description.Receive());
        error->GetHelpFile(helpFile.Receive());
        error->GetHelpContext(&helpContext);
        FillException(exception, failure, source.View(), description.View(), helpFile.Detach(), helpContext);
    } else {
        const long code = HRESULT_FACILITY(failure) == FACILITY_CONTROL ? HRESULT_CODE(failure) : 0;
        FillException(exception, failure, SourceOf(self, info),
                      code ? RunTimeErrorText(code) : std::wstring(L"Automation error"));
    }
    return DISP_E_EXCEPTION;
}

// Run-time error 91, raised by the dispatch layer itself.
HRESULT RaiseObjectNotSet(IUnknown* self, ITypeInfo* info, EXCEPINFO* exception) {
    const HRESULT number = HresultOfErrorNumber(kObjectNotSet);
    const std::wstring source = SourceOf(self, info);
    const std::wstring description = RunTimeErrorText(kObjectNotSet);
    if (exception) {
        FillException(exception, number, source, description);
        return DISP_E_EXCEPTION;
    }
    return Boundary(source.c_str(), IID_NULL, [&] { RaiseNumber(kObjectNotSet, source, description); });
}

bool IsWellFormed(const DISPPARAMS& params) {
    return params.cNamedArgs <= params.cArgs && (params.cArgs == 0 || params.rgvarg) &&
           (params.cNamedArgs == 0 || params.rgdispidNamedArgs);
}

}  // namespace

InterfaceDispatch::InterfaceDispatch(REFIID iid) {
    if (FAILED(TypeInfoOf(iid, &info_))) info_.Reset();
    members_ = std::make_unique<const MemberTable>(info_.Get());
}

HRESULT InterfaceDispatch::GetIDsOfNames(LPOLESTR* names, UINT count, DISPID* ids) const {
    if (count == 0) return S_OK;
    if (!names || !ids) return E_POINTER;
    ids[0] = names[0] ? members_->IdOfName(names[0]) : DISPID_UNKNOWN;
    HRESULT found = ids[0] == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : S_OK;
    // Further names are the member's parameter names; their ids are their positions.
    const Member* member = ids[0] == DISPID_UNKNOWN ? nullptr : members_->AnyWithId(ids[0]);
    for (UINT index = 1; index < count; ++index) {
        const int position = member && names[index] ? member->ParameterNamed(names[index]) : -1;
        ids[index] = position < 0 ? DISPID_UNKNOWN : position;
        if (position < 0) found = DISP_E_UNKNOWNNAME;
    }
    return found;
}

HRESULT InterfaceDispatch::Invoke(IUnknown* self, DISPID id, WORD flags, DISPPARAMS* params, VARIANT* result,
                                  EXCEPINFO* exception, UINT* argumentError) const {
    try {
        static DISPPARAMS none{};
        const DISPPARAMS& given = params ? *params : none;
        if (!IsWellFormed(given)) return E_INVALIDARG;
        const Member* member = members_->Find(id, flags);
        if (!member) return DISP_E_MEMBERNOTFOUND;
        if (!member->callable) return DISP_E_BADVARTYPE;
        const UINT positional = given.cArgs - given.cNamedArgs;
        if (member->kind == INVOKE_PROPERTYGET && given.cNamedArgs == 0 && positional > member->parameters.size()) {
            return InvokeDefaultOfResult(self, *member, flags, given, result, exception, argumentError);
        }
        MemberCall call(*member, given);
        if (const HRESULT bound = call.Bind(argumentError); FAILED(bound)) return bound;
        const HRESULT called = call.Call(self, result);
        return FAILED(called) ? ReportMemberFailure(called, self, info_.Get(), exception) : called;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

HRESULT InterfaceDispatch::InvokeDefaultOfResult(IUnknown* self, const Member& member, WORD flags,
                                                 const DISPPARAMS& params, VARIANT* result, EXCEPINFO* exception,
                                                 UINT* argumentError) const {
    // The property takes the leading arguments (which, last first, are the trailing
    // entries of rgvarg); its result's default member takes the rest.
    const UINT own = static_cast<UINT>(member.parameters.size());
    DISPPARAMS leading{params.rgvarg + (params.cArgs - own), nullptr, own, 0};
    Variant value;
    {
        MemberCall call(member, leading);
        if (const HRESULT bound = call.Bind(argumentError); FAILED(bound)) {
            if (argumentError) *argumentError += params.cArgs - own;
            return bound;
        }
        if (const HRESULT called = call.Call(self, value.Get()); FAILED(called)) {
            return ReportMemberFailure(called, self, info_.Get(), exception);
        }
    }
    const VARTYPE type = value.Type();
    if (type != VT_DISPATCH) return DISP_E_BADPARAMCOUNT;  // only an object has a default member
    IDispatch* object = V_DISPATCH(value.Get());
    if (!object) return RaiseObjectNotSet(self, info_.Get(), exception);
    DISPPARAMS rest{params.rgvarg, nullptr, params.cArgs - own, 0};
    return object->Invoke(DISPID_VALUE, IID_NULL, LOCALE_USER_DEFAULT, flags, &rest, result, exception, argumentError);
}

}  // namespace vofs
