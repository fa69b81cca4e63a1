#pragma once
// File times between the platform and automation, and Win32FileTime, the small record
// object that carries one FILETIME to clients.
//
// A FILETIME counts 100 ns intervals since 1601-01-01 in two unsigned 32-bit words.
// Clients see it in two ways: as a precise value (a Decimal of scale 0 holding the whole
// count) or as an automation Date. Dates are converted as they stand, without a
// time-zone shift, and lose their milliseconds; a time that cannot be converted raises
// the system error "Could not convert date." with source "MFileSystemLib".

#include "common/low_memory.h"
#include "frame/com_object.h"
#include "frame/contract.h"

#include <cstdint>

namespace vofs {

inline constexpr wchar_t kFileSystemModule[] = L"MFileSystemLib";

constexpr uint64_t FileTimeCount(const FILETIME& time) {
    return (static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}
constexpr FILETIME FileTimeOfCount(uint64_t count) {
    return FILETIME{static_cast<DWORD>(count), static_cast<DWORD>(count >> 32)};
}

// The time as an automation date (FileTimeToSystemTime, then SystemTimeToVariantTime
// without the milliseconds). Zero is 1601-01-01, the date -109205.
DATE DateFromFileTime(const FILETIME& time);

// The date as a FILETIME (VariantTimeToSystemTime, then SystemTimeToFileTime).
FILETIME FileTimeFromDate(DATE date);

// The time as a precise value: a Decimal of scale 0, high word * 2^32 + low word.
Variant PreciseTimeValue(const FILETIME& time);

// Local time of a UTC time, and back. A zero time stays zero (no time-zone offset is
// added to "no time"); a failed platform conversion gives zero, silently.
FILETIME LocalFileTimeOf(const FILETIME& time);
FILETIME UtcFileTimeOf(const FILETIME& time);

// A time given by a client wherever the library accepts one:
//   - a Win32FileTime object: the time it holds;
//   - a Decimal: the low word from the mantissa's low 32 bits and the high word from its
//     top 32 bits (not the middle ones: a precise value read from the library and passed
//     back keeps only its low word; this is how the library has always read them);
//   - anything that converts to a Date: that date, as FileTimeFromDate converts it;
//   - anything else raises error 5 with source "MFileSystemLib".
FILETIME FileTimeFromValue(const VARIANT& value);

// Its address is handed out (lpFileTime), so it lives in low memory.
class FileTimeRecord final : public ComObject<FileTimeRecord, ::Win32FileTime>, public LowMemoryObject {
public:
    static constexpr wchar_t kClassName[] = L"Win32FileTime";

    // Made with Make() (a zero time) or Make(time, convertToLocal): with the flag the time
    // is passed through LocalFileTimeOf first.

    const FILETIME& Time() const { return time_; }
    void SetTime(const FILETIME& time) { time_ = time; }
    // The held FILETIME, for platform calls that fill it in place.
    FILETIME* TimeBuffer() { return &time_; }
    // Any value, converted to a Decimal by the automation rules; the high word comes
    // from the mantissa's middle 32 bits and the low word from its low 32 bits (scale,
    // sign and top word are not looked at).
    void SetPreciseValue(const VARIANT& value);
    void SetValue(DATE date) { time_ = FileTimeFromDate(date); }

    // ---- Win32FileTime
    HRESULT STDMETHODCALLTYPE get_PreciseValue(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_Value(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_lpFileTime(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_dwLowDateTime(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_dwHighDateTime(LONG* value) override;
    HRESULT STDMETHODCALLTYPE ConvertToLocal(IDispatch** value) override;
    HRESULT STDMETHODCALLTYPE ConvertToUtc(IDispatch** value) override;

private:
    friend class ComObject<FileTimeRecord, ::Win32FileTime>;
    FileTimeRecord() = default;
    FileTimeRecord(const FILETIME& time, bool convertToLocal)
        : time_(convertToLocal ? LocalFileTimeOf(time) : time) {}

    FILETIME time_{};
};

}  // namespace vofs
