// File times: FILETIME to Date and back, the local/UTC conversions, the time values
// clients pass, and Win32FileTime through its interface.

#include "common/decimal.h"
#include "common/large_values.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "items/file_time.h"
#include "items/find_data.h"
#include "support/test_support.h"

#include <cstdint>
#include <cstring>
#include <functional>

namespace vofs::testing {
namespace {

constexpr uint64_t kSecond = 10'000'000;
constexpr uint64_t kHour = 3600 * kSecond;
constexpr uint64_t kDay = 86'400 * kSecond;
// Automation dates count days from 1899-12-30, which is 109205 days after 1601-01-01.
constexpr uint64_t kDateZero = 109'205 * kDay;
constexpr uint64_t kNoon2003 = kDateZero + 37622 * kDay + kDay / 2;  // 2003-01-01 12:00

void ExpectTime(const FILETIME& actual, uint64_t expected) { EXPECT_EQ(FileTimeCount(actual), expected); }

Variant DecimalValue(ULONG hi, ULONG mid, ULONG lo) {
    DECIMAL number{};
    number.Hi32 = hi;
    number.Mid32 = mid;
    number.Lo32 = lo;
    return Variant::FromDecimal(number);
}

Variant ObjectValue(IUnknown* object, VARTYPE type = VT_DISPATCH) {
    Variant value;
    V_VT(value.Get()) = type;
    V_UNKNOWN(value.Get()) = object;
    if (object) object->AddRef();
    return value;
}

TEST(FileTimes, ConvertToDatesWithoutMillisecondsAndBack) {
    struct Case {
        const char* name;
        uint64_t time;
        DATE date;
        bool roundTrip;  // the date converts back to the same time
    };
    const Case cases[] = {
        {"zero is 1601-01-01", 0, -109205, true},
        {"the date zero", kDateZero, 0, true},
        {"2003-01-01 12:00", kNoon2003, 37622.5, true},
        {"1899-12-29 06:00: before the date zero the time still counts forward", kDateZero - kDay + kDay / 4,
         -1.25, true},
        {"1700-06-15 12:00", kDateZero - 72881 * kDay + kDay / 2, -72881.5, true},
        {"milliseconds are dropped", kDateZero + kSecond + 999 * 10'000, 1.0 / 86400, false},
        {"2^32", 0x100000000ULL, -(109205 + 429.0 / 86400), false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_NEAR(DateFromFileTime(FileTimeOfCount(c.time)), c.date, 1e-9);
        if (c.roundTrip) ExpectTime(FileTimeFromDate(c.date), c.time);
    }
}

BOOL WINAPI FailingFileTimeToSystemTime(const FILETIME*, SYSTEMTIME*) {
    SetLastError(ERROR_NOT_READY);
    return FALSE;
}

TEST(FileTimes, FailedDateConversionsRaiseTheSystemError) {
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"high bit set", [] { DateFromFileTime(FILETIME{0, 0x80000000}); }},
        {"beyond year 9999", [] { DateFromFileTime(FILETIME{0, 0x7FFFFFFF}); }},
        {"before 1601", [] { FileTimeFromDate(-200000); }},
        {"beyond the last date", [] { FileTimeFromDate(3000000); }},
    };
    for (const auto& [name, call] : cases) {
        SetLastError(ERROR_FILE_NOT_FOUND);  // a stale code must not be reported
        const ErrorRecord error = CaughtError(call);
        EXPECT_EQ(error.number, System(ERROR_INVALID_PARAMETER)) << name;
        EXPECT_EQ(error.source, L"MFileSystemLib");
        EXPECT_EQ(error.description, L"Could not convert date.\r\n" + SystemErrorText(ERROR_INVALID_PARAMETER));
    }
    ApiOverride<&PlatformApi::FileTimeToSystemTime> failing(&FailingFileTimeToSystemTime);
    EXPECT_EQ(CaughtError([] { DateFromFileTime(FILETIME{1, 1}); }).number, System(ERROR_NOT_READY))
        << "a platform failure reports its own code";
}

// The prefix runs in UTC, so the platform's time zone is stood in for by one an hour ahead.
int localCalls = 0;
bool localFails = false;
BOOL WINAPI OneHourAhead(const FILETIME* in, FILETIME* out) {
    ++localCalls;
    *out = FileTimeOfCount(FileTimeCount(*in) + kHour);
    return !localFails;
}
BOOL WINAPI OneHourBack(const FILETIME* in, FILETIME* out) {
    ++localCalls;
    *out = FileTimeOfCount(FileTimeCount(*in) - kHour);
    return !localFails;
}

TEST(FileTimes, LocalTimesMakeNewObjectsAndLeaveZeroAlone) {
    ApiOverride<&PlatformApi::FileTimeToLocalFileTime> toLocal(&OneHourAhead);
    ApiOverride<&PlatformApi::LocalFileTimeToFileTime> toUtc(&OneHourBack);
    localCalls = 0;
    localFails = false;
    ComPtr<FileTimeRecord> utc = FileTimeRecord::Make(FileTimeOfCount(kNoon2003), false);
    ComPtr<IDispatch> local, back, zero;
    ASSERT_EQ(utc->ConvertToLocal(&local), S_OK);
    ASSERT_EQ(utc->ConvertToUtc(&back), S_OK);
    ASSERT_EQ(FileTimeRecord::Make()->ConvertToLocal(&zero), S_OK);
    ExpectTime(utc->Time(), kNoon2003);
    ExpectTime(ImplementationOf<FileTimeRecord>(local.Get())->Time(), kNoon2003 + kHour);
    ExpectTime(ImplementationOf<FileTimeRecord>(back.Get())->Time(), kNoon2003 - kHour);
    ExpectTime(ImplementationOf<FileTimeRecord>(zero.Get())->Time(), 0);
    ExpectTime(UtcFileTimeOf(FILETIME{}), 0);
    EXPECT_EQ(localCalls, 2) << "a zero time is not handed to the platform";
    ExpectTime(FileTimeRecord::Make(FileTimeOfCount(kNoon2003), true)->Time(), kNoon2003 + kHour);
    localFails = true;
    ExpectTime(LocalFileTimeOf(FileTimeOfCount(kNoon2003)), 0);
    ExpectTime(UtcFileTimeOf(FileTimeOfCount(kNoon2003)), 0);
}

// Another implementation of Win32FileTime (a library object of another class, so not a
// FileTimeRecord): it is read through its two words.
class ForeignFileTime final : public ComObject<ForeignFileTime, ::Win32FileTime> {
public:
    static constexpr wchar_t kClassName[] = L"ForeignFileTime";
    HRESULT STDMETHODCALLTYPE get_PreciseValue(VARIANT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Value(DATE*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lpFileTime(LONG* value) override { return *value = 8, S_OK; }  // unreadable
    HRESULT STDMETHODCALLTYPE get_dwLowDateTime(LONG* value) override { return *value = 0x89ABCDEF, S_OK; }
    HRESULT STDMETHODCALLTYPE get_dwHighDateTime(LONG* value) override { return *value = 0x01234567, S_OK; }
    HRESULT STDMETHODCALLTYPE ConvertToLocal(IDispatch**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ConvertToUtc(IDispatch**) override { return E_NOTIMPL; }

private:
    friend class ComObject<ForeignFileTime, ::Win32FileTime>;
    ForeignFileTime() = default;
};

TEST(FileTimes, TimeValuesFromClients) {
    const uint64_t held = (7ULL << 32) | 11;
    ComPtr<FileTimeRecord> record = FileTimeRecord::Make(FileTimeOfCount(held), false);
    ComPtr<ForeignFileTime> foreign = ForeignFileTime::Make();
    Variant decimalTarget = DecimalValue(7, 9, 5);
    Variant decimalByReference;
    V_VT(decimalByReference.Get()) = VT_BYREF | VT_DECIMAL;
    V_DECIMALREF(decimalByReference.Get()) = &V_DECIMAL(decimalTarget.Get());
    struct Case {
        const char* name;
        Variant value;
        uint64_t expected;
    };
    Case cases[] = {
        {"a Win32FileTime", ObjectValue(record->AsDispatch()), held},
        {"a Win32FileTime as IUnknown", ObjectValue(record->AsDispatch(), VT_UNKNOWN), held},
        {"another Win32FileTime", ObjectValue(foreign->AsDispatch()), 0x0123456789ABCDEFULL},
        {"a Decimal: low and top words", DecimalValue(7, 9, 5), (7ULL << 32) | 5},
        {"a precise value loses its high word", PreciseValue((1ULL << 32) | 5), 5},
        {"a typed reference to a Decimal", std::move(decimalByReference), (7ULL << 32) | 5},
        {"a Date", DateValue(37622.5), kNoon2003},
        {"a Double", DoubleValue(2), kDateZero + 2 * kDay},
        {"date text", StringValue(L"2003-01-01"), kDateZero + 37622 * kDay},
    };
    for (Case& c : cases) {
        SCOPED_TRACE(c.name);
        ExpectTime(FileTimeFromValue(*c.value.Get()), c.expected);
    }

    Variant null;
    V_VT(null.Get()) = VT_NULL;
    ComPtr<FindDataRecord> other = FindDataRecord::Make();
    Case refused[] = {
        {"Null", std::move(null), 0},
        {"text that is no date", StringValue(L"soon"), 0},
        {"Nothing", ObjectValue(nullptr), 0},
        {"an object that is no time", ObjectValue(other->AsDispatch()), 0},
        {"a missing argument", Missing(), 0},
    };
    for (Case& c : refused) {
        const ErrorRecord error = CaughtError([&] { FileTimeFromValue(*c.value.Get()); });
        EXPECT_EQ(error.number, RunTime(5)) << c.name;
        EXPECT_EQ(error.source, L"MFileSystemLib");
    }
    EXPECT_EQ(CaughtError([] { FileTimeFromValue(*DateValue(-200000).Get()); }).number, System(ERROR_INVALID_PARAMETER))
        << "a date the platform cannot convert is a conversion failure, not a bad argument";
}

TEST(Win32FileTime, PreciseValueAndWordsAreUnsigned) {
    const std::pair<FILETIME, uint64_t> cases[] = {
        {{0, 0}, 0}, {{5, 1}, 4294967301ULL}, {{0xFFFFFFFF, 0}, 0xFFFFFFFFULL},
        {{1, 0x80000000}, 0x8000000000000001ULL}, {{0xFFFFFFFF, 0xFFFFFFFF}, UINT64_MAX},
    };
    for (const auto& [time, precise] : cases) {
        SCOPED_TRACE(precise);
        ComPtr<FileTimeRecord> record = FileTimeRecord::Make(time, false);
        Variant value;
        ASSERT_EQ(record->get_PreciseValue(value.Get()), S_OK);
        ASSERT_EQ(value.Type(), VT_DECIMAL);
        EXPECT_EQ(V_DECIMAL(value.Get()).sign + V_DECIMAL(value.Get()).scale, 0);
        EXPECT_EQ(CompareDecimals(V_DECIMAL(value.Get()), DecimalFromUnsigned(precise)), 0);
        EXPECT_EQ(static_cast<DWORD>(ValueOf<LONG>(record.Get(), &FileTimeRecord::get_dwLowDateTime)), time.dwLowDateTime);
        EXPECT_EQ(static_cast<DWORD>(ValueOf<LONG>(record.Get(), &FileTimeRecord::get_dwHighDateTime)), time.dwHighDateTime);
    }
}

TEST(Win32FileTime, SettingThePreciseValueReadsTheMiddleWord) {
    struct Case {
        const char* name;
        Variant value;
        uint64_t expected;
    };
    Case cases[] = {
        {"Decimal: middle and low words, top ignored", DecimalValue(9, 1, 5), (1ULL << 32) | 5},
        {"a precise value comes back whole", PreciseValue(0xFEDCBA9876543210ULL), 0xFEDCBA9876543210ULL},
        {"Long", LongValue(7), 7},
        {"text", StringValue(L"4294967301"), (1ULL << 32) | 5},
    };
    for (Case& c : cases) {
        ComPtr<FileTimeRecord> record = FileTimeRecord::Make();
        record->SetPreciseValue(*c.value.Get());
        EXPECT_EQ(FileTimeCount(record->Time()), c.expected) << c.name;
    }
    ComPtr<FileTimeRecord> record = FileTimeRecord::Make(FILETIME{3, 4}, false);
    EXPECT_EQ(CaughtError([&] { record->SetPreciseValue(*StringValue(L"late").Get()); }).number, RunTime(13));
    ExpectTime(record->Time(), (4ULL << 32) | 3);
}

TEST(Win32FileTime, ValueAddressAndLateBinding) {
    ComPtr<FileTimeRecord> record = FileTimeRecord::Make(FileTimeOfCount(kDateZero + 37622 * kDay), false);
    EXPECT_EQ(ValueOf<DATE>(record.Get(), &FileTimeRecord::get_Value), 37622);
    const LONG address = ValueOf<LONG>(record.Get(), &FileTimeRecord::get_lpFileTime);
    FILETIME atAddress{};
    std::memcpy(&atAddress, reinterpret_cast<const void*>(static_cast<INT_PTR>(address)), sizeof atAddress);
    ExpectTime(atAddress, kDateZero + 37622 * kDay);

    // Script hosts see it by its name and reach its members by name.
    IDispatch* dispatch = record->AsDispatch();
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(dispatch->GetTypeInfo(0, 0, &info), S_OK);
    Bstr name;
    info->GetDocumentation(MEMBERID_NIL, name.Receive(), nullptr, nullptr, nullptr);
    EXPECT_EQ(name.View(), L"Win32FileTime");
    LPOLESTR member = const_cast<LPOLESTR>(L"PreciseValue");
    DISPID id = 0;
    ASSERT_EQ(dispatch->GetIDsOfNames(IID_NULL, &member, 1, 0, &id), S_OK);
    DISPPARAMS none{};
    Variant result;
    ASSERT_EQ(dispatch->Invoke(id, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, result.Get(), nullptr, nullptr), S_OK);
    EXPECT_EQ(DecimalText(V_DECIMAL(result.Get())), L"126858528000000000");

    record->SetTime(FILETIME{0, 0x80000000});
    DATE date = 0;
    const ErrorRecord error = TakeError(record->get_Value(&date));
    EXPECT_EQ(error.number, System(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(error.source, L"MFileSystemLib");
}

}  // namespace
}  // namespace vofs::testing
