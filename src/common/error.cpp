#include "common/error.h"

#include "common/bstr.h"

#include <new>

namespace vofs {

HRESULT HresultOfErrorNumber(long number) {
    if (number > 0 && number <= 0xFFFF) {
        return static_cast<HRESULT>(0x800A0000UL | static_cast<unsigned long>(number));
    }
    return static_cast<HRESULT>(number);
}

std::wstring RunTimeErrorText(long number) {
    switch (number) {
        case 5: return L"Invalid procedure call or argument";
        case 6: return L"Overflow";
        case 7: return L"Out of memory";
        case 9: return L"Subscript out of range";
        case 13: return L"Type mismatch";
        case 91: return L"Object variable not set";
        case 51: return L"Internal error";
        case 380: return L"Invalid property value";
        case 425: return L"Invalid object use";
        case 445: return L"Object doesn't support this action";
        default: return L"Application-defined or object-defined error";
    }
}

AutomationError::AutomationError(HRESULT number, std::wstring description, std::wstring source,
                                 std::wstring helpFile, DWORD helpContext)
    : number_(number),
      description_(std::move(description)),
      source_(std::move(source)),
      helpFile_(std::move(helpFile)),
      helpContext_(helpContext) {}

AutomationError AutomationError::WithSource(std::wstring source) const {
    return AutomationError(number_, description_, std::move(source), helpFile_, helpContext_);
}

void RaiseNumber(long number, std::wstring_view source, std::wstring_view description) {
    throw AutomationError(HresultOfErrorNumber(number),
                          description.empty() ? RunTimeErrorText(number) : std::wstring(description),
                          std::wstring(source));
}

void Raise(RunTimeError error, std::wstring_view source, std::wstring_view description) {
    RaiseNumber(static_cast<long>(error), source, description);
}

void RaiseNotAvailable(std::wstring_view member) {
    throw AutomationError(E_NOTIMPL, std::wstring(member) + L" is not available in this version of the library.");
}

void CheckCall(HRESULT result) {
    if (SUCCEEDED(result)) return;
    ComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, &info) == S_OK && info) {
        Bstr source, description, helpFile;
        DWORD helpContext = 0;
        info->GetSource(source.Receive());
        info->GetDescription(description.Receive());
        info->GetHelpFile(helpFile.Receive());
        info->GetHelpContext(&helpContext);
        throw AutomationError(result, std::wstring(description.View()), std::wstring(source.View()),
                              std::wstring(helpFile.View()), helpContext);
    }
    CheckConversion(result);
}

void CheckConversion(HRESULT result) {
    if (SUCCEEDED(result)) return;
    switch (result) {
        case DISP_E_TYPEMISMATCH: Raise(RunTimeError::TypeMismatch);
        case DISP_E_OVERFLOW: Raise(RunTimeError::Overflow);
        case E_OUTOFMEMORY: Raise(RunTimeError::OutOfMemory);
        case DISP_E_BADINDEX: Raise(RunTimeError::SubscriptOutOfRange);
        case E_INVALIDARG: Raise(RunTimeError::InvalidCall);
        default: break;
    }
    if (HRESULT_FACILITY(result) == FACILITY_CONTROL) RaiseNumber(HRESULT_CODE(result));
    throw AutomationError(result, L"Automation error");
}

namespace {

void SetThreadErrorInfo(const AutomationError& error, const wchar_t* className, REFIID iid) noexcept {
    ComPtr<ICreateErrorInfo> create;
    if (FAILED(CreateErrorInfo(&create))) return;
    const std::wstring& source = error.Source();
    create->SetGUID(iid);
    create->SetSource(const_cast<LPOLESTR>(source.empty() ? className : source.c_str()));
    create->SetDescription(const_cast<LPOLESTR>(error.Description().c_str()));
    create->SetHelpFile(const_cast<LPOLESTR>(error.HelpFile().c_str()));
    create->SetHelpContext(error.HelpContext());
    ComPtr<IErrorInfo> info;
    if (SUCCEEDED(create.As(&info))) SetErrorInfo(0, info.Get());
}

}  // namespace

HRESULT ReportCurrentException(const wchar_t* className, REFIID iid) noexcept {
    try {
        try {
            throw;
        } catch (const AutomationError& error) {
            SetThreadErrorInfo(error, className, iid);
            return error.Number();
        } catch (const std::bad_alloc&) {
            const auto number = static_cast<long>(RunTimeError::OutOfMemory);
            SetThreadErrorInfo(AutomationError(HresultOfErrorNumber(number), RunTimeErrorText(number)),
                               className, iid);
            return HresultOfErrorNumber(number);
        } catch (...) {
            const auto number = static_cast<long>(RunTimeError::InternalError);
            SetThreadErrorInfo(AutomationError(HresultOfErrorNumber(number), RunTimeErrorText(number)),
                               className, iid);
            return HresultOfErrorNumber(number);
        }
    } catch (...) {
        // Building the error information itself ran out of memory.
        return E_OUTOFMEMORY;
    }
}

}  // namespace vofs
