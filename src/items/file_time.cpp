#include "items/file_time.h"

#include "common/bstr.h"
#include "common/decimal.h"
#include "common/large_values.h"
#include "common/long_handles.h"
#include "common/platform_api.h"
#include "common/system_error.h"

#include <optional>

namespace vofs {
namespace {

constexpr wchar_t kDateConversionFailed[] = L"Could not convert date.";

// The conversion routines of oleaut32 fail without setting the last platform error, so
// the error is cleared first and a failure that leaves none behind is reported as an
// invalid parameter: a stale code from an unrelated earlier call would mislead.
[[noreturn]] void RaiseDateConversionFailed() {
    const DWORD code = GetLastError();
    RaiseSystemError(code != 0 ? static_cast<long>(code) : ERROR_INVALID_PARAMETER, kFileSystemModule,
                     kDateConversionFailed);
}

// The name a script host gives an object: the name of its type information.
std::wstring TypeNameOf(IDispatch* object) {
    ComPtr<ITypeInfo> info;
    if (!object || FAILED(object->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info)) || !info) return {};
    Bstr name;
    if (FAILED(info->GetDocumentation(MEMBERID_NIL, name.Receive(), nullptr, nullptr, nullptr))) return {};
    return std::wstring(name.View());
}

bool ReadLongProperty(IDispatch* object, const wchar_t* name, DWORD& value) {
    DISPID id = 0;
    LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
    if (FAILED(object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id))) return false;
    DISPPARAMS none{};
    Variant result;
    if (FAILED(object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, result.Get(), nullptr,
                              nullptr))) {
        return false;
    }
    if (IsMalformedDecimal(*result.Get()) || FAILED(VariantChangeType(result.Get(), result.Get(), 0, VT_I4))) {
        return false;
    }
    value = static_cast<DWORD>(V_I4(result.Get()));
    return true;
}

// The time held by a Win32FileTime object. Another implementation of that name is read
// through its two words rather than through the address it hands out, which the library
// cannot vouch for.
std::optional<FILETIME> TimeOfRecordObject(IUnknown* unknown) {
    if (!unknown) return std::nullopt;
    if (const FileTimeRecord* own = ImplementationOf<FileTimeRecord>(unknown)) return own->Time();
    ComPtr<IDispatch> object;
    if (FAILED(unknown->QueryInterface(IID_PPV_ARGS(&object))) || TypeNameOf(object.Get()) != L"Win32FileTime") {
        return std::nullopt;
    }
    FILETIME time{};
    if (!ReadLongProperty(object.Get(), L"dwLowDateTime", time.dwLowDateTime) ||
        !ReadLongProperty(object.Get(), L"dwHighDateTime", time.dwHighDateTime)) {
        Raise(RunTimeError::InvalidCall, kFileSystemModule);
    }
    return time;
}

}  // namespace

DATE DateFromFileTime(const FILETIME& time) {
    SetLastError(0);
    SYSTEMTIME parts{};
    DATE date = 0;
    if (!api.FileTimeToSystemTime(&time, &parts)) RaiseDateConversionFailed();
    parts.wMilliseconds = 0;
    if (!api.SystemTimeToVariantTime(&parts, &date)) RaiseDateConversionFailed();
    return date;
}

FILETIME FileTimeFromDate(DATE date) {
    SetLastError(0);
    SYSTEMTIME parts{};
    FILETIME time{};
    if (!api.VariantTimeToSystemTime(date, &parts)) RaiseDateConversionFailed();
    if (!api.SystemTimeToFileTime(&parts, &time)) RaiseDateConversionFailed();
    return time;
}

Variant PreciseTimeValue(const FILETIME& time) { return PreciseValue(FileTimeCount(time)); }

FILETIME LocalFileTimeOf(const FILETIME& time) {
    FILETIME local{};
    if (FileTimeCount(time) != 0 && !api.FileTimeToLocalFileTime(&time, &local)) local = FILETIME{};
    return local;
}

FILETIME UtcFileTimeOf(const FILETIME& time) {
    FILETIME utc{};
    if (FileTimeCount(time) != 0 && !api.LocalFileTimeToFileTime(&time, &utc)) utc = FILETIME{};
    return utc;
}

FILETIME FileTimeFromValue(const VARIANT& value) {
    const Variant actual = Variant::CopyOf(value);
    switch (actual.Type()) {
        case VT_DISPATCH:
        case VT_UNKNOWN:
            if (const auto time = TimeOfRecordObject(V_UNKNOWN(actual.Get()))) return *time;
            break;
        case VT_DECIMAL: {
            const DECIMAL& number = V_DECIMAL(actual.Get());
            return FILETIME{number.Lo32, number.Hi32};
        }
        default: break;
    }
    Variant date;
    if (FAILED(VariantChangeType(date.Get(), const_cast<VARIANT*>(actual.Get()), 0, VT_DATE))) {
        Raise(RunTimeError::InvalidCall, kFileSystemModule);
    }
    return FileTimeFromDate(V_DATE(date.Get()));
}

// ---- FileTimeRecord

void FileTimeRecord::SetPreciseValue(const VARIANT& value) {
    const DECIMAL number = ToDecimal(value);
    time_ = FILETIME{number.Lo32, number.Mid32};
}

HRESULT FileTimeRecord::get_PreciseValue(VARIANT* value) {
    return Get(value, [&] { return PreciseTimeValue(time_); });
}

HRESULT FileTimeRecord::get_Value(DATE* value) {
    return Get(value, [&] { return DateFromFileTime(time_); });
}

HRESULT FileTimeRecord::get_lpFileTime(LONG* value) {
    return Get(value, [&] { return AddressAsLong(&time_); });
}

HRESULT FileTimeRecord::get_dwLowDateTime(LONG* value) {
    return Get(value, [&] { return static_cast<LONG>(time_.dwLowDateTime); });
}

HRESULT FileTimeRecord::get_dwHighDateTime(LONG* value) {
    return Get(value, [&] { return static_cast<LONG>(time_.dwHighDateTime); });
}

HRESULT FileTimeRecord::ConvertToLocal(IDispatch** value) {
    return Get(value, [&] { return Make(LocalFileTimeOf(time_), false); });
}

HRESULT FileTimeRecord::ConvertToUtc(IDispatch** value) {
    return Get(value, [&] { return Make(UtcFileTimeOf(time_), false); });
}

}  // namespace vofs
