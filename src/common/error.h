#pragma once
// The library's one error path. Inside the library a failure is an AutomationError
// exception carrying (number, source, description); every COM method body runs inside
// Boundary(), which turns whatever was thrown into SetErrorInfo plus the returned
// HRESULT. No exception ever leaves a COM method.

#include "common/platform_headers.h"

#include <exception>
#include <string>
#include <string_view>

namespace vofs {

// The automation run time's own errors that the library raises by number.
enum class RunTimeError : long {
    InvalidCall = 5,             // bad argument, object not set up, missing item data
    Overflow = 6,
    OutOfMemory = 7,
    SubscriptOutOfRange = 9,
    TypeMismatch = 13,
    ObjectNotSet = 91,           // a member of an object that does not exist
    InternalError = 51,
    InvalidPropertyValue = 380,  // bad seek origin, empty new-line text
    InvalidObjectUse = 425,
    ActionNotSupported = 445,    // a member the object cannot serve (FTP attributes, locks)
};

// The HRESULT that carries an error number: 1 to 65535 are run-time errors
// (&H800A0000 + n); any other number (-1 among them) is taken as the HRESULT itself.
HRESULT HresultOfErrorNumber(long number);

// The run time's own text for a run-time error number.
std::wstring RunTimeErrorText(long number);

class AutomationError : public std::exception {
public:
    AutomationError(HRESULT number, std::wstring description, std::wstring source = {},
                    std::wstring helpFile = {}, DWORD helpContext = 0);

    HRESULT Number() const noexcept { return number_; }
    const std::wstring& Description() const noexcept { return description_; }
    const std::wstring& Source() const noexcept { return source_; }
    const std::wstring& HelpFile() const noexcept { return helpFile_; }
    DWORD HelpContext() const noexcept { return helpContext_; }
    const char* what() const noexcept override { return "automation error"; }

    // The same error raised again under another source ("re-raised with source X").
    AutomationError WithSource(std::wstring source) const;

private:
    HRESULT number_;
    std::wstring description_;
    std::wstring source_;
    std::wstring helpFile_;
    DWORD helpContext_;
};

// Raises a run-time error; an empty description takes the run time's own text and an
// empty source becomes the name of the class whose method is running.
[[noreturn]] void Raise(RunTimeError error, std::wstring_view source = {},
                        std::wstring_view description = {});

// Raises an error by number (for example -1, which travels as the HRESULT &HFFFFFFFF).
[[noreturn]] void RaiseNumber(long number, std::wstring_view source = {},
                              std::wstring_view description = {});

// Members whose work belongs to classes not part of this build answer with this error
// (E_NOTIMPL, "<member> is not available in this version of the library.") rather than
// with a stand-in object.
[[noreturn]] void RaiseNotAvailable(std::wstring_view member);

// Checks the result of a call on another automation interface: a failure is raised again
// with the callee's error information (number, source and description unchanged).
void CheckCall(HRESULT result);

// Checks the result of an OLE Automation conversion or arithmetic routine; failures
// become the run-time errors a script would see for them (type mismatch, overflow, ...).
void CheckConversion(HRESULT result);

// Inside a catch block: records the exception as the thread's error information and
// returns the HRESULT to hand back. The source defaults to className.
HRESULT ReportCurrentException(const wchar_t* className, REFIID iid) noexcept;

template <class Body>
HRESULT Boundary(const wchar_t* className, REFIID iid, Body&& body) noexcept {
    try {
        body();
        return S_OK;
    } catch (...) {
        return ReportCurrentException(className, iid);
    }
}

}  // namespace vofs
