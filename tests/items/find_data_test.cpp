// Find records: both layouts decoded from bytes, the Version rule and the setters the
// library uses. (Records filled by the platform's find calls are read by every walk of
// tests/scripts/items.vbs and facade_win98.vbs.)

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
#include <tuple>

namespace vofs::testing {
namespace {

constexpr uint64_t kDay = 864'000'000'000ULL;
constexpr uint64_t kCreated = (109'205 + 36892) * kDay;   // 2001-01-01
constexpr uint64_t kAccessed = (109'205 + 37257) * kDay;  // 2002-01-01
constexpr uint64_t kWritten = (109'205 + 37622) * kDay;   // 2003-01-01

// An unsigned Decimal of scale 0, as the precise members hand out.
uint64_t PreciseOf(const Variant& value) {
    EXPECT_EQ(value.Type(), VT_DECIMAL);
    const DECIMAL& number = V_DECIMAL(value.Get());
    EXPECT_EQ(number.scale + number.sign + number.Hi32, 0u);
    return JoinWords(number.Mid32, number.Lo32);
}

template <class Record>
ComPtr<FindDataRecord> Decoded(Record& data, long version) {
    data.dwFileAttributes = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY;
    data.ftCreationTime = FileTimeOfCount(kCreated);
    data.ftLastAccessTime = FileTimeOfCount(kAccessed);
    data.ftLastWriteTime = FileTimeOfCount(kWritten);
    data.nFileSizeHigh = 1;
    data.nFileSizeLow = 5;
    ComPtr<FindDataRecord> record = FindDataRecord::Make();
    record->InitializeFrom(&data, version);
    EXPECT_EQ(record->Version(), version);
    EXPECT_EQ(record->Attributes(), static_cast<DWORD>(FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(PreciseOf(record->FileSize()), (1ULL << 32) | 5);
    EXPECT_EQ(PreciseOf(record->PreciseCreationTime()), kCreated);
    EXPECT_EQ(PreciseOf(record->PreciseLastAccessTime()), kAccessed);
    EXPECT_EQ(PreciseOf(record->PreciseLastWriteTime()), kWritten);
    // The three dates are all the last-write date.
    EXPECT_EQ(ValueOf<DATE>(record.Get(), &FindDataRecord::get_LastAccessTime) +
                  ValueOf<DATE>(record.Get(), &FindDataRecord::get_CreationTime), 2 * 37622);
    return record;
}

TEST(FindData, BothLayoutsDecode) {
    WIN32_FIND_DATAW wide{};
    wcscpy(wide.cFileName, L"r\u00e9sum\u00e9 \u4e2d.txt");
    wcscpy(wide.cAlternateFileName, L"RSUM~1.TXT");
    ComPtr<FindDataRecord> record = Decoded(wide, find_record::kWide);
    EXPECT_EQ(TextOf(record.Get(), &FindDataRecord::get_FileName), L"r\u00e9sum\u00e9 \u4e2d.txt");
    EXPECT_EQ(TextOf(record.Get(), &FindDataRecord::get_AltFileName), L"RSUM~1.TXT");

    WIN32_FIND_DATAA ansi{};
    const std::string bytes = ToAnsi(L"caf\u00e9 notes.txt");
    ASSERT_EQ(FromAnsi(bytes), L"caf\u00e9 notes.txt") << "the prefix's code page has no e acute";
    std::memcpy(ansi.cFileName, bytes.data(), bytes.size());
    std::strcpy(ansi.cAlternateFileName, "CAFNOT~1.TXT");
    record = Decoded(ansi, find_record::kAnsi);
    EXPECT_EQ(record->FileName() + L"|" + record->AltFileName(), L"caf\u00e9 notes.txt|CAFNOT~1.TXT");
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(record->AsDispatch()->GetTypeInfo(0, 0, &info), S_OK);
    Bstr typeName;
    info->GetDocumentation(MEMBERID_NIL, typeName.Receive(), nullptr, nullptr, nullptr);
    EXPECT_EQ(typeName.View(), L"Win32FindData") << "the name script hosts see";
}

// Raw buffers: names that fill their fields without a NUL, and short names that run on
// into the bytes after their 14-character field.
TEST(FindData, NamesWithoutNul) {
    const std::tuple<long, size_t, size_t> layouts[] = {{find_record::kWide, find_record::kWideAltNameOffset, 2},
                                                        {find_record::kAnsi, find_record::kAnsiAltNameOffset, 1}};
    for (const auto& [version, altOffset, unitSize] : layouts) {
        std::array<uint8_t, find_record::kBufferSize> bytes{};
        for (size_t unit = 0; unit < 260; ++unit) {
            bytes[find_record::kFileNameOffset + unit * unitSize] = static_cast<uint8_t>('a' + unit % 26);
        }
        for (size_t unit = 0; unit < 16; ++unit) bytes[altOffset + unit * unitSize] = static_cast<uint8_t>('A' + unit);
        ComPtr<FindDataRecord> record = FindDataRecord::Make();
        record->InitializeFrom(bytes.data(), version);
        const std::wstring name = record->FileName();
        EXPECT_EQ(std::to_wstring(name.size()) + name.substr(0, 3) + name.substr(259), L"260abcz") << version;
        EXPECT_EQ(record->AltFileName(), L"ABCDEFGHIJKLMNOP") << "two characters beyond the field";
        bytes[altOffset + 3 * unitSize] = 0;
        record->InitializeFrom(bytes.data(), version);
        EXPECT_EQ(record->AltFileName(), L"ABC");
    }
    // An ANSI record copies its 320 bytes only, not a wide record's tail.
    std::array<uint8_t, find_record::kBufferSize> source{};
    source.fill(0x41);
    ComPtr<FindDataRecord> record = FindDataRecord::Make();
    record->InitializeFrom(source.data(), find_record::kAnsi);
    EXPECT_EQ(record->Bytes()[319] * 256 + record->Bytes()[320], 0x4100);
}

TEST(FindData, VersionRule) {
    const std::tuple<long, long, bool, std::optional<long>> cases[] = {  // current, requested, NT, next
        {0, 1, true, 2},  {0, 2, false, 1}, {0, 7, true, 2},   {0, -1, false, 1},
        {1, 2, true, 2},  {2, 1, true, 1},  {2, 7, true, 7},   {1, 0, false, 0},
        {2, -3, true, -3}, {7, 1, true, std::nullopt}, {-1, 2, true, std::nullopt}, {3, 3, false, std::nullopt},
    };
    for (const auto& [current, requested, nt, next] : cases) {
        EXPECT_EQ(find_record::NextVersion(current, requested, nt), next) << current << " " << requested << " " << nt;
    }
    WideCallSettingGuard setting;
    ThisThread().wideCallSupport = kAnsiVersion;
    ComPtr<FindDataRecord> record = FindDataRecord::Make();
    EXPECT_EQ(record->Version(), IsPlatformNT() ? 2 : 1) << "a new record takes the platform's layout";
    EXPECT_EQ(record->put_Version(7), S_OK);
    const ErrorRecord error = TakeError(record->put_Version(1));
    EXPECT_EQ(error.number, RunTime(5));
    EXPECT_EQ(error.source + std::to_wstring(ValueOf<LONG>(record.Get(), &FindDataRecord::get_Version)), L"Win32FindData7");
    std::array<uint8_t, find_record::kBufferSize> bytes{};
    bytes[find_record::kFileNameOffset] = 'x';
    EXPECT_EQ(CaughtError([&] { record->InitializeFrom(bytes.data(), 2); }).number, RunTime(5));
    EXPECT_EQ(record->Bytes()[find_record::kFileNameOffset], 0) << "a refused record copies nothing";
}

TEST(FindData, SettersOfSizeTimesAttributesAndNames) {
    Variant currency, integer;
    V_VT(currency.Get()) = VT_CY;
    V_CY(currency.Get()).int64 = 25'000;  // 2.5
    V_VT(integer.Get()) = VT_I2;
    V_I2(integer.Get()) = 300;
    DECIMAL big = DecimalFromUnsigned((1ULL << 32) | 5);
    big.Hi32 = 9;  // the top word is not a size word
    const std::pair<Variant, uint64_t> sizes[] = {
        {std::move(integer), 300}, {LongValue(-1), 1},  // the sign is not a size word
        {std::move(currency), 25000},                    // the mantissa of 2.5000
        {Variant::FromDecimal(big), (1ULL << 32) | 5},
    };
    ComPtr<FindDataRecord> record = FindDataRecord::Make();
    for (const auto& [value, expected] : sizes) {
        record->SetFileSize(*value.Get());
        EXPECT_EQ(PreciseOf(record->FileSize()), expected);
    }
    for (const Variant& refused : {DoubleValue(5), StringValue(L"5")}) {
        EXPECT_EQ(CaughtError([&] { record->SetFileSize(*refused.Get()); }).number, RunTime(5));
        EXPECT_EQ(PreciseOf(record->FileSize()), (1ULL << 32) | 5) << "nothing changes";
    }

    // The times take the values every time argument takes.
    record->SetLastWriteTime(*DateValue(37622).Get());
    record->SetCreationTime(*PreciseValue(kCreated).Get());
    record->SetLastAccessTime(*Variant::FromObject(FileTimeRecord::Make(FileTimeOfCount(kAccessed), false)->AsDispatch()).Get());
    EXPECT_EQ(PreciseOf(record->PreciseLastWriteTime()), kWritten);
    EXPECT_EQ(PreciseOf(record->PreciseCreationTime()), kCreated & 0xFFFFFFFF) << "a precise value keeps its low word";
    EXPECT_EQ(PreciseOf(record->PreciseLastAccessTime()), kAccessed);

    WIN32_FIND_DATAW data{};
    wcscpy(data.cFileName, L"kept.txt");
    record->InitializeFrom(&data, find_record::kWide);
    EXPECT_EQ(record->put_FileAttributes(static_cast<LONG>(0x80002021)), S_OK);
    EXPECT_EQ(ValueOf<LONG>(record.Get(), &FindDataRecord::get_FileAttributes), static_cast<LONG>(0x80002021));
    EXPECT_EQ(record->put_FileName(Bstr(L"other.txt").Get()) | record->put_AltFileName(Bstr(L"other.txt").Get()), S_OK);
    EXPECT_EQ(record->FileName() + L"|" + record->AltFileName(), L"kept.txt|") << "names cannot be set";
}

}  // namespace
}  // namespace vofs::testing
