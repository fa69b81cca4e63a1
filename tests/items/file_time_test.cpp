// File times: the conversions between FILETIME, Date and the precise Decimal, the
// local/UTC conversions, the shared reading of time values given by clients, and
// Win32FileTime through its interface.

#include "common/decimal.h"
#include "common/large_values.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "items/file_time.h"
#include "items/find_data.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>

namespace vofs::testing {
namespace {

constexpr uint64_t kSecond = 10'000'000;
constexpr uint64_t kDay = 86'400 * kSecond;
// Automation dates count days from 1899-12-30, which is 109205 days after 1601-01-01.
constexpr uint64_t kDateZero = 109'205 * kDay;

void ExpectTime(const FILETIME& actual, uint64_t expected) { EXPECT_EQ(FileTimeCount(actual), expected); }

Variant DecimalValue(ULONG hi, ULONG mid, ULONG lo) {
    DECIMAL number{};
    number.Hi32 = hi;
    number.Mid32 = mid;
    number.Lo32 = lo;
    return Variant::FromDecimal(number);
}

Variant DateValue(DATE date) {
    Variant value;
    V_VT(value.Get()) = VT_DATE;
    V_DATE(value.Get()) = date;
    return value;
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
        {"1900-01-01", kDateZero + 2 * kDay, 2, true},
        {"2003-01-01 12:00", kDateZero + 37622 * kDay + kDay / 2, 37622.5, true},
        {"1899-12-29 06:00: before the date zero the time still counts forward", kDateZero - kDay + kDay / 4,
         -1.25, true},
        {"1700-06-15 12:00", kDateZero - 72881 * kDay + kDay / 2, -72881.5, true},
        {"milliseconds are dropped", kDateZero + kSecond + 999 * 10'000, 1.0 / 86400, false},
        {"just below 2^32", 0xFFFFFFFFULL, -(109205 + 429.0 / 86400), false},
        {"2^32", 0x100000000ULL, -(109205 + 429.0 / 86400), false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_NEAR(DateFromFileTime(FileTimeOfCount(c.time)), c.date, 1e-9);
        if (c.roundTrip) ExpectTime(FileTimeFromDate(c.date), c.time);
    }
}

TEST(FileTimes, FailedDateConversionsRaiseTheSystemError) {
    struct Case {
        const char* name;
        std::function<void()> call;
    };
    const Case cases[] = {
        {"high bit set", [] { DateFromFileTime(FILETIME{0, 0x80000000}); }},
        {"beyond year 9999", [] { DateFromFileTime(FILETIME{0, 0x7FFFFFFF}); }},
        {"before 1601", [] { FileTimeFromDate(-200000); }},
        {"beyond the last date", [] { FileTimeFromDate(3000000); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SetLastError(ERROR_FILE_NOT_FOUND);  // a stale code must not be reported
        const ErrorRecord error = CaughtError(c.call);
        EXPECT_EQ(error.number, System(ERROR_INVALID_PARAMETER));
        EXPECT_EQ(error.source, L"MFileSystemLib");
        EXPECT_EQ(error.description, L"Could not convert date.\r\n" + SystemErrorText(ERROR_INVALID_PARAMETER));
    }
}

BOOL WINAPI FailingFileTimeToSystemTime(const FILETIME*, SYSTEMTIME*) {
    SetLastError(ERROR_NOT_READY);
    return FALSE;
}

TEST(FileTimes, APlatformFailureReportsItsOwnCode) {
    ApiOverride<&PlatformApi::FileTimeToSystemTime> failing(&FailingFileTimeToSystemTime);
    const ErrorRecord error = CaughtError([] { DateFromFileTime(FILETIME{1, 1}); });
    EXPECT_EQ(error.number, System(ERROR_NOT_READY));
    EXPECT_EQ(error.source, L"MFileSystemLib");
}

int localCalls = 0;
bool localFails = false;
constexpr uint64_t kHour = 3600 * kSecond;

BOOL WINAPI OneHourAhead(const FILETIME* in, FILETIME* out) {
    ++localCalls;
    if (localFails) return FALSE;
    *out = FileTimeOfCount(FileTimeCount(*in) + kHour);
    return TRUE;
}

BOOL WINAPI OneHourBack(const FILETIME* in, FILETIME* out) {
    ++localCalls;
    if (localFails) return FALSE;
    *out = FileTimeOfCount(FileTimeCount(*in) - kHour);
    return TRUE;
}

// The prefix runs in UTC, so the platform's time zone is stood in for by one an hour ahead.
class LocalTimes : public ::testing::Test {
protected:
    void SetUp() override {
        localCalls = 0;
        localFails = false;
    }
    ApiOverride<&PlatformApi::FileTimeToLocalFileTime> toLocal_{&OneHourAhead};
    ApiOverride<&PlatformApi::LocalFileTimeToFileTime> toUtc_{&OneHourBack};
};

TEST_F(LocalTimes, ZeroStaysZeroAndFailuresGiveZero) {
    const uint64_t noon = kDateZero + 37622 * kDay + kDay / 2;
    ExpectTime(LocalFileTimeOf(FILETIME{}), 0);
    ExpectTime(UtcFileTimeOf(FILETIME{}), 0);
    EXPECT_EQ(localCalls, 0) << "a zero time is not handed to the platform";

    ExpectTime(LocalFileTimeOf(FileTimeOfCount(noon)), noon + kHour);
    ExpectTime(UtcFileTimeOf(FileTimeOfCount(noon)), noon - kHour);

    localFails = true;
    ExpectTime(LocalFileTimeOf(FileTimeOfCount(noon)), 0);
    ExpectTime(UtcFileTimeOf(FileTimeOfCount(noon)), 0);
}

TEST_F(LocalTimes, ConversionsMakeNewObjects) {
    const uint64_t noon = kDateZero + 37622 * kDay + kDay / 2;
    ComPtr<FileTimeRecord> utc = FileTimeRecord::Make(FileTimeOfCount(noon), false);
    ComPtr<IDispatch> local, back;
    ASSERT_EQ(utc->ConvertToLocal(&local), S_OK);
    ASSERT_EQ(utc->ConvertToUtc(&back), S_OK);
    ExpectTime(utc->Time(), noon);
    ASSERT_NE(ImplementationOf<FileTimeRecord>(local.Get()), nullptr);
    ExpectTime(ImplementationOf<FileTimeRecord>(local.Get())->Time(), noon + kHour);
    ExpectTime(ImplementationOf<FileTimeRecord>(back.Get())->Time(), noon - kHour);

    ExpectTime(FileTimeRecord::Make(FileTimeOfCount(noon), true)->Time(), noon + kHour);
    ComPtr<IDispatch> zero;
    ASSERT_EQ(FileTimeRecord::Make()->ConvertToLocal(&zero), S_OK);
    ExpectTime(ImplementationOf<FileTimeRecord>(zero.Get())->Time(), 0);
}

// Another implementation of Win32FileTime (a library object of another class, so not a
// FileTimeRecord): it is read through its two words.
class ForeignFileTime final : public ComObject<ForeignFileTime, ::Win32FileTime> {
public:
    static constexpr wchar_t kClassName[] = L"ForeignFileTime";
    HRESULT STDMETHODCALLTYPE get_PreciseValue(VARIANT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Value(DATE*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lpFileTime(LONG* value) override {
        *value = 8;  // an address no one may read
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_dwLowDateTime(LONG* value) override {
        *value = 0x89ABCDEF;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_dwHighDateTime(LONG* value) override {
        *value = 0x01234567;
        return S_OK;
    }
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
        {"a Date", DateValue(37622.5), kDateZero + 37622 * kDay + kDay / 2},
        {"a Double", DoubleValue(2), kDateZero + 2 * kDay},
        {"a Long", LongValue(0), kDateZero},
        {"date text", StringValue(L"2003-01-01"), kDateZero + 37622 * kDay},
    };
    for (Case& c : cases) {
        SCOPED_TRACE(c.name);
        ExpectTime(FileTimeFromValue(*c.value.Get()), c.expected);
    }
}

TEST(FileTimes, ValuesThatAreNoTimesRaiseError5) {
    Variant null;
    V_VT(null.Get()) = VT_NULL;
    Variant missing;
    V_VT(missing.Get()) = VT_ERROR;
    V_ERROR(missing.Get()) = DISP_E_PARAMNOTFOUND;
    ComPtr<FindDataRecord> record = FindDataRecord::Make();

    struct Case {
        const char* name;
        Variant value;
    };
    Case cases[] = {
        {"Null", std::move(null)},
        {"text that is no date", StringValue(L"soon")},
        {"Nothing", ObjectValue(nullptr)},
        {"an object that is no time", ObjectValue(record->AsDispatch())},
        {"a missing argument", std::move(missing)},
    };
    for (Case& c : cases) {
        SCOPED_TRACE(c.name);
        const ErrorRecord error = CaughtError([&] { FileTimeFromValue(*c.value.Get()); });
        EXPECT_EQ(error.number, RunTime(5));
        EXPECT_EQ(error.source, L"MFileSystemLib");
    }
    const Variant early = DateValue(-200000);
    EXPECT_EQ(CaughtError([&] { FileTimeFromValue(*early.Get()); }).number, System(ERROR_INVALID_PARAMETER))
        << "a date the platform cannot convert is a conversion failure, not a bad argument";
}

TEST(Win32FileTime, PreciseValueAndWordsAreUnsigned) {
    struct Case {
        DWORD high, low;
        uint64_t precise;
    };
    const Case cases[] = {
        {0, 0, 0},
        {1, 5, 4294967301ULL},
        {0, 0xFFFFFFFF, 0xFFFFFFFFULL},
        {1, 0, 0x100000000ULL},
        {0x80000000, 1, 0x8000000000000001ULL},
        {0xFFFFFFFF, 0xFFFFFFFF, UINT64_MAX},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.precise);
        ComPtr<FileTimeRecord> record = FileTimeRecord::Make(FILETIME{c.low, c.high}, false);
        Variant precise;
        ASSERT_EQ(record->get_PreciseValue(precise.Get()), S_OK);
        ASSERT_EQ(precise.Type(), VT_DECIMAL);
        EXPECT_EQ(V_DECIMAL(precise.Get()).sign, 0);
        EXPECT_EQ(V_DECIMAL(precise.Get()).scale, 0);
        EXPECT_EQ(CompareDecimals(V_DECIMAL(precise.Get()), DecimalFromUnsigned(c.precise)), 0);
        LONG low = 0, high = 0;
        record->get_dwLowDateTime(&low);
        record->get_dwHighDateTime(&high);
        EXPECT_EQ(static_cast<DWORD>(low), c.low);
        EXPECT_EQ(static_cast<DWORD>(high), c.high);
    }
}

TEST(Win32FileTime, ValueAndAddress) {
    ComPtr<FileTimeRecord> record = FileTimeRecord::Make(FileTimeOfCount(kDateZero + 37622 * kDay), false);
    DATE date = 0;
    EXPECT_EQ(record->get_Value(&date), S_OK);
    EXPECT_EQ(date, 37622);

    LONG address = 0;
    ASSERT_EQ(record->get_lpFileTime(&address), S_OK);
    FILETIME atAddress{};
    std::memcpy(&atAddress, reinterpret_cast<const void*>(static_cast<INT_PTR>(address)), sizeof atAddress);
    ExpectTime(atAddress, kDateZero + 37622 * kDay);

    record->SetTime(FILETIME{0, 0x80000000});
    const ErrorRecord error = TakeError(record->get_Value(&date));
    EXPECT_EQ(error.number, System(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(error.source, L"MFileSystemLib");
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
        SCOPED_TRACE(c.name);
        ComPtr<FileTimeRecord> record = FileTimeRecord::Make();
        record->SetPreciseValue(*c.value.Get());
        ExpectTime(record->Time(), c.expected);
    }
    ComPtr<FileTimeRecord> record = FileTimeRecord::Make(FILETIME{3, 4}, false);
    const Variant text = StringValue(L"late");
    EXPECT_EQ(CaughtError([&] { record->SetPreciseValue(*text.Get()); }).number, RunTime(13));
    ExpectTime(record->Time(), (4ULL << 32) | 3);
}

TEST(Win32FileTime, ScriptHostsSeeItByName) {
    ComPtr<FileTimeRecord> record = FileTimeRecord::Make(FILETIME{5, 1}, false);
    IDispatch* dispatch = record->AsDispatch();
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(dispatch->GetTypeInfo(0, 0, &info), S_OK);
    Bstr name;
    ASSERT_EQ(info->GetDocumentation(MEMBERID_NIL, name.Receive(), nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(name.View(), L"Win32FileTime");

    LPOLESTR member = const_cast<LPOLESTR>(L"PreciseValue");
    DISPID id = 0;
    ASSERT_EQ(dispatch->GetIDsOfNames(IID_NULL, &member, 1, 0, &id), S_OK);
    DISPPARAMS none{};
    Variant result;
    ASSERT_EQ(dispatch->Invoke(id, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, result.Get(), nullptr, nullptr), S_OK);
    ASSERT_EQ(result.Type(), VT_DECIMAL);
    EXPECT_EQ(DecimalText(V_DECIMAL(result.Get())), L"4294967301");
}

}  // namespace
}  // namespace vofs::testing
