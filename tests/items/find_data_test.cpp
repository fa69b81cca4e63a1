// Find records: both layouts decoded from bytes, the Version rule, the setters the library
// uses, and records filled in place by the platform's own find calls.

#include "common/ansi.h"
#include "common/decimal.h"
#include "common/large_values.h"
#include "items/file_time.h"
#include "items/find_data.h"
#include "items/find_record.h"
#include "support/test_support.h"

#include <array>
#include <cstring>
#include <optional>
#include <string>

namespace vofs::testing {
namespace {

constexpr uint64_t kDay = 864'000'000'000ULL;
constexpr uint64_t kDateZero = 109'205 * kDay;
constexpr uint64_t kCreated = kDateZero + 36892 * kDay;   // 2001-01-01
constexpr uint64_t kAccessed = kDateZero + 37257 * kDay;  // 2002-01-01
constexpr uint64_t kWritten = kDateZero + 37622 * kDay;   // 2003-01-01

template <class Record>
void FillCommonFields(Record& record) {
    record.dwFileAttributes = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY;
    record.ftCreationTime = FileTimeOfCount(kCreated);
    record.ftLastAccessTime = FileTimeOfCount(kAccessed);
    record.ftLastWriteTime = FileTimeOfCount(kWritten);
    record.nFileSizeHigh = 1;
    record.nFileSizeLow = 5;
}

uint64_t PreciseOf(const Variant& value) {
    EXPECT_EQ(value.Type(), VT_DECIMAL);
    const DECIMAL& number = V_DECIMAL(value.Get());
    EXPECT_EQ(number.scale, 0);
    EXPECT_EQ(number.sign, 0);
    EXPECT_EQ(number.Hi32, 0u);
    return JoinWords(number.Mid32, number.Lo32);
}

std::wstring Text(HRESULT (STDMETHODCALLTYPE ::Win32FindData::*member)(BSTR*), FindDataRecord& record) {
    return TextOf(static_cast<::Win32FindData*>(&record), member);
}

void ExpectDecodedFields(FindDataRecord& record) {
    EXPECT_EQ(record.Attributes(), static_cast<DWORD>(FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(PreciseOf(record.FileSize()), (1ULL << 32) | 5);
    EXPECT_EQ(PreciseOf(record.PreciseCreationTime()), kCreated);
    EXPECT_EQ(PreciseOf(record.PreciseLastAccessTime()), kAccessed);
    EXPECT_EQ(PreciseOf(record.PreciseLastWriteTime()), kWritten);
    // The three dates are all the last-write date.
    EXPECT_EQ(ValueOf<DATE>(&record, &FindDataRecord::get_LastWriteTime), 37622);
    EXPECT_EQ(ValueOf<DATE>(&record, &FindDataRecord::get_LastAccessTime), 37622);
    EXPECT_EQ(ValueOf<DATE>(&record, &FindDataRecord::get_CreationTime), 37622);
}

TEST(FindData, BothLayoutsDecode) {
    WIN32_FIND_DATAW wide{};
    FillCommonFields(wide);
    wcscpy(wide.cFileName, L"r\u00e9sum\u00e9 \u4e2d.txt");
    wcscpy(wide.cAlternateFileName, L"RSUM~1.TXT");
    ComPtr<FindDataRecord> record = FindDataRecord::Make();
    record->InitializeFrom(&wide, find_record::kWide);
    EXPECT_EQ(record->Version(), 2);
    ExpectDecodedFields(*record.Get());
    EXPECT_EQ(Text(&::Win32FindData::get_FileName, *record.Get()), L"r\u00e9sum\u00e9 \u4e2d.txt");
    EXPECT_EQ(Text(&::Win32FindData::get_AltFileName, *record.Get()), L"RSUM~1.TXT");

    WIN32_FIND_DATAA ansi{};
    FillCommonFields(ansi);
    const std::wstring name = L"caf\u00e9 notes.txt";
    const std::string bytes = ToAnsi(name);
    ASSERT_EQ(FromAnsi(bytes), name) << "the prefix's code page has no e acute";
    std::memcpy(ansi.cFileName, bytes.data(), bytes.size());
    std::strcpy(ansi.cAlternateFileName, "CAFNOT~1.TXT");
    record = FindDataRecord::Make();
    record->InitializeFrom(&ansi, find_record::kAnsi);
    EXPECT_EQ(record->Version(), 1);
    ExpectDecodedFields(*record.Get());
    EXPECT_EQ(record->FileName(), name);
    EXPECT_EQ(record->AltFileName(), L"CAFNOT~1.TXT");
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(record->AsDispatch()->GetTypeInfo(0, 0, &info), S_OK);
    Bstr typeName;
    info->GetDocumentation(MEMBERID_NIL, typeName.Receive(), nullptr, nullptr, nullptr);
    EXPECT_EQ(typeName.View(), L"Win32FindData") << "the name script hosts see";
}

// Raw buffers: names that fill their fields without a NUL, and short names that run on
// into the bytes after their 14-character field.
TEST(FindData, NamesWithoutNul) {
    struct Case {
        const char* name;
        long version;
        size_t altOffset;
        size_t unitSize;
    };
    const Case cases[] = {
        {"wide", find_record::kWide, find_record::kWideAltNameOffset, 2},
        {"ANSI", find_record::kAnsi, find_record::kAnsiAltNameOffset, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::array<uint8_t, find_record::kBufferSize> bytes{};
        for (size_t unit = 0; unit < 260; ++unit) {
            bytes[find_record::kFileNameOffset + unit * c.unitSize] = static_cast<uint8_t>('a' + unit % 26);
        }
        for (size_t unit = 0; unit < 16; ++unit) bytes[c.altOffset + unit * c.unitSize] = static_cast<uint8_t>('A' + unit);
        ComPtr<FindDataRecord> record = FindDataRecord::Make();
        record->InitializeFrom(bytes.data(), c.version);
        const std::wstring name = record->FileName();
        ASSERT_EQ(name.size(), 260u);
        EXPECT_EQ(name.substr(0, 3), L"abc");
        EXPECT_EQ(name.back(), L'z');
        EXPECT_EQ(record->AltFileName(), L"ABCDEFGHIJKLMNOP") << "two characters beyond the field";

        bytes[c.altOffset + 3 * c.unitSize] = 0;
        record->InitializeFrom(bytes.data(), c.version);
        EXPECT_EQ(record->AltFileName(), L"ABC");
    }
}

TEST(FindData, AnAnsiRecordCopiesOnly320Bytes) {
    std::array<uint8_t, find_record::kBufferSize> source{};
    source.fill(0x41);
    ComPtr<FindDataRecord> record = FindDataRecord::Make();
    record->InitializeFrom(source.data(), find_record::kAnsi);
    const std::span<const uint8_t> bytes = record->Bytes();
    EXPECT_EQ(bytes[319], 0x41);
    EXPECT_EQ(bytes[320], 0) << "the wide tail is not copied for an ANSI record";
    record->InitializeFrom(source.data(), find_record::kWide);
    EXPECT_EQ(bytes[595], 0x41);
}

TEST(FindData, VersionRule) {
    struct Case {
        long current, requested;
        bool nt;
        std::optional<long> next;
    };
    const Case cases[] = {
        {0, 1, true, 2},  {0, 2, false, 1}, {0, 7, true, 2},   {0, -1, false, 1},
        {1, 2, true, 2},  {2, 1, true, 1},  {2, 7, true, 7},   {1, 0, false, 0},
        {2, -3, true, -3}, {7, 1, true, std::nullopt}, {-1, 2, true, std::nullopt}, {3, 3, false, std::nullopt},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(find_record::NextVersion(c.current, c.requested, c.nt), c.next)
            << c.current << " -> " << c.requested << (c.nt ? " on NT" : " on 9x");
    }
}

TEST(FindData, VersionThroughTheInterface) {
    WideCallSettingGuard setting;
    ThisThread().wideCallSupport = kAnsiVersion;
    ComPtr<FindDataRecord> record = FindDataRecord::Make();
    const long natural = IsPlatformNT() ? 2 : 1;
    EXPECT_EQ(record->Version(), natural) << "a new record takes the platform's layout, whatever is asked";

    EXPECT_EQ(record->put_Version(7), S_OK);
    EXPECT_EQ(ValueOf<LONG>(record.Get(), &FindDataRecord::get_Version), 7);
    const ErrorRecord error = TakeError(record->put_Version(1));
    EXPECT_EQ(error.number, RunTime(5));
    EXPECT_EQ(error.source, L"Win32FindData");
    EXPECT_EQ(record->Version(), 7);

    // Back to "unchosen": the next write is ignored and the record settles again.
    ComPtr<FindDataRecord> other = FindDataRecord::Make();
    other->SetVersion(0);
    other->SetVersion(IsPlatformNT() ? 1 : 2);
    EXPECT_EQ(other->Version(), natural);

    std::array<uint8_t, find_record::kBufferSize> bytes{};
    bytes[find_record::kFileNameOffset] = 'x';
    EXPECT_EQ(CaughtError([&] { record->InitializeFrom(bytes.data(), 2); }).number, RunTime(5));
    EXPECT_EQ(record->Bytes()[find_record::kFileNameOffset], 0) << "a refused record copies nothing";
}

TEST(FindData, FileSizeSetter) {
    Variant currencyValue;
    V_VT(currencyValue.Get()) = VT_CY;
    V_CY(currencyValue.Get()).int64 = 25'000;  // 2.5
    Variant integer;
    V_VT(integer.Get()) = VT_I2;
    V_I2(integer.Get()) = 300;
    DECIMAL big = DecimalFromUnsigned((1ULL << 32) | 5);
    big.Hi32 = 9;  // the top word is not a size word

    struct Case {
        const char* name;
        Variant value;
        uint64_t expected;
    };
    Case cases[] = {
        {"Integer", std::move(integer), 300},
        {"Long", LongValue(123456), 123456},
        {"negative Long: the sign is not a size word", LongValue(-1), 1},
        {"Currency: the mantissa of 2.5000 (four decimals)", std::move(currencyValue), 25000},
        {"Decimal", Variant::FromDecimal(big), (1ULL << 32) | 5},
    };
    for (Case& c : cases) {
        SCOPED_TRACE(c.name);
        ComPtr<FindDataRecord> record = FindDataRecord::Make();
        record->SetFileSize(*c.value.Get());
        EXPECT_EQ(PreciseOf(record->FileSize()), c.expected);
    }

    ComPtr<FindDataRecord> record = FindDataRecord::Make();
    record->SetFileSize(*LongValue(42).Get());
    for (const Variant& refused : {DoubleValue(5), StringValue(L"5")}) {
        const ErrorRecord error = CaughtError([&] { record->SetFileSize(*refused.Get()); });
        EXPECT_EQ(error.number, RunTime(5));
        EXPECT_EQ(PreciseOf(record->FileSize()), 42u) << "nothing changes";
    }
}

TEST(FindData, TimeSettersUseTheSharedTimeValues) {
    ComPtr<FindDataRecord> record = FindDataRecord::Make();
    record->SetLastWriteTime(*DateValue(37622).Get());
    record->SetCreationTime(*PreciseValue(kCreated).Get());
    ComPtr<FileTimeRecord> accessed = FileTimeRecord::Make(FileTimeOfCount(kAccessed), false);
    record->SetLastAccessTime(*Variant::FromObject(accessed->AsDispatch()).Get());

    EXPECT_EQ(PreciseOf(record->PreciseLastWriteTime()), kWritten);
    EXPECT_EQ(PreciseOf(record->PreciseCreationTime()), kCreated & 0xFFFFFFFF)
        << "a precise value written back keeps only its low word";
    EXPECT_EQ(PreciseOf(record->PreciseLastAccessTime()), kAccessed);
}

TEST(FindData, AttributesAreKeptAndNamesCannotBeSet) {
    WIN32_FIND_DATAW data{};
    wcscpy(data.cFileName, L"kept.txt");
    ComPtr<FindDataRecord> record = FindDataRecord::Make();
    record->InitializeFrom(&data, find_record::kWide);
    EXPECT_EQ(record->put_FileAttributes(static_cast<LONG>(0x80002021)), S_OK);
    EXPECT_EQ(ValueOf<LONG>(record.Get(), &FindDataRecord::get_FileAttributes), static_cast<LONG>(0x80002021));
    EXPECT_EQ(record->put_FileName(Bstr(L"other.txt").Get()), S_OK);
    EXPECT_EQ(record->put_AltFileName(Bstr(L"other.txt").Get()), S_OK);
    EXPECT_EQ(record->FileName(), L"kept.txt");
    EXPECT_EQ(record->AltFileName(), L"");
}

// The platform's find calls fill the record in place through its address, in the layout
// Version names.
TEST(FindData, FilledByThePlatformsFindCalls) {
    ScratchFolder scratch;
    const std::wstring file = scratch.WriteFile(L"data file.bin", "12345");
    for (long version : {2L, 1L}) {
        SCOPED_TRACE(version);
        ComPtr<FindDataRecord> record = FindDataRecord::Make();
        record->SetVersion(version);
        LONG address = 0;
        ASSERT_EQ(record->get_lpWIN_32_FIND_DATA(&address), S_OK);
        ASSERT_EQ(reinterpret_cast<void*>(static_cast<INT_PTR>(address)), record->Buffer());
        HANDLE search = version == 2
                            ? FindFirstFileW(file.c_str(), static_cast<WIN32_FIND_DATAW*>(record->Buffer()))
                            : FindFirstFileA(ToAnsi(file).c_str(), static_cast<WIN32_FIND_DATAA*>(record->Buffer()));
        ASSERT_NE(search, INVALID_HANDLE_VALUE);
        FindClose(search);
        EXPECT_EQ(record->FileName(), L"data file.bin");
        EXPECT_EQ(PreciseOf(record->FileSize()), 5u);
        EXPECT_FALSE(record->Attributes() & FILE_ATTRIBUTE_DIRECTORY);
        EXPECT_GT(PreciseOf(record->PreciseLastWriteTime()), kDateZero + 40000 * kDay) << "written after 2009";
    }
}

}  // namespace
}  // namespace vofs::testing
