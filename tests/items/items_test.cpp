// Items and the records behind them: file times (to Date and back, local/UTC, the values
// clients pass, Win32FileTime), find records (both layouts, the Version rule, the setters),
// and FolderItem and FolderEnumerator where the platform's answers are chosen through the
// seam. tests/scripts/items.vbs handles real files.

#include "common/ansi.h"
#include "common/decimal.h"
#include "common/large_values.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "items/file_time.h"
#include "items/find_data.h"
#include "items/find_record.h"
#include "items/folder_enumerator.h"
#include "items/folder_item.h"
#include "support/test_support.h"

#include <array>
#include <cstring>
#include <functional>
#include <optional>
#include <tuple>
#include <vector>

namespace vofs::testing {
namespace {

constexpr uint64_t kSecond = 10'000'000;
constexpr uint64_t kHour = 3600 * kSecond;
constexpr uint64_t kDay = 86'400 * kSecond;
// Automation dates count days from 1899-12-30, which is 109205 days after 1601-01-01.
constexpr uint64_t kDateZero = 109'205 * kDay;
constexpr uint64_t kNoon2003 = kDateZero + 37622 * kDay + kDay / 2;  // 2003-01-01 12:00
constexpr uint64_t kCreated = kDateZero + 36892 * kDay;              // 2001-01-01
constexpr uint64_t kAccessed = kDateZero + 37257 * kDay;             // 2002-01-01
constexpr uint64_t kWritten = kDateZero + 37622 * kDay;              // 2003-01-01

Variant DecimalValue(ULONG hi, ULONG mid, ULONG lo) {
    DECIMAL number = DecimalFromUnsigned(uint64_t{mid} << 32 | lo);
    number.Hi32 = hi;
    return Variant::FromDecimal(number);
}

BOOL WINAPI FailingFileTimeToSystemTime(const FILETIME*, SYSTEMTIME*) { return SetLastError(ERROR_NOT_READY), FALSE; }

TEST(FileTimes, ConvertToDatesWithoutMillisecondsAndBackOrRaiseTheSystemError) {
    const std::tuple<uint64_t, DATE, bool> cases[] = {  // time, date, whether the date converts back
        {0, -109205, true},                                   // 1601-01-01
        {kNoon2003, 37622.5, true},
        {kDateZero - kDay + kDay / 4, -1.25, true},           // before the date zero the time counts forward
        {kDateZero + kSecond + 999 * 10'000, 1.0 / 86400, false},  // milliseconds are dropped
        {0x100000000ULL, -(109205 + 429.0 / 86400), false},
    };
    for (const auto& [time, date, back] : cases) {
        EXPECT_NEAR(DateFromFileTime(FileTimeOfCount(time)), date, 1e-9) << time;
        EXPECT_TRUE(!back || FileTimeCount(FileTimeFromDate(date)) == time) << time;
    }
    const std::function<void()> failures[] = {
        [] { DateFromFileTime(FILETIME{0, 0x80000000}); }, [] { DateFromFileTime(FILETIME{0, 0x7FFFFFFF}); },
        [] { FileTimeFromDate(-200000); }, [] { FileTimeFromDate(3000000); },
        [] { FileTimeFromValue(*Coerced(DoubleValue(-200000), VT_DATE).Get()); },  // a conversion failure, not a bad argument
    };
    for (const auto& call : failures) {
        SetLastError(ERROR_FILE_NOT_FOUND);  // a stale code must not be reported
        const ErrorRecord error = CaughtError(call);
        EXPECT_EQ(error.number, System(ERROR_INVALID_PARAMETER));
        EXPECT_EQ(error.source + L"|" + error.description,
                  L"MFileSystemLib|Could not convert date.\r\n" + SystemErrorText(ERROR_INVALID_PARAMETER));
    }
    ApiOverride<&PlatformApi::FileTimeToSystemTime> failing(&FailingFileTimeToSystemTime);
    EXPECT_EQ(CaughtError([] { DateFromFileTime(FILETIME{1, 1}); }).number, System(ERROR_NOT_READY))
        << "a platform failure reports its own code";
}

// The prefix runs in UTC, so the platform's time zone is stood in for by one an hour ahead.
bool localFails = false;
template <int64_t By>
BOOL WINAPI Shifted(const FILETIME* in, FILETIME* out) {
    *out = FileTimeOfCount(FileTimeCount(*in) + By);
    return !localFails;
}

uint64_t Converted(FileTimeRecord* record, HRESULT (STDMETHODCALLTYPE FileTimeRecord::*member)(IDispatch**)) {
    ComPtr<IDispatch> result;
    EXPECT_EQ((record->*member)(&result), S_OK);
    return FileTimeCount(ImplementationOf<FileTimeRecord>(result.Get())->Time());
}

TEST(FileTimes, LocalTimesAreNewObjectsAndZeroStaysZero) {
    ApiOverride<&PlatformApi::FileTimeToLocalFileTime> toLocal(&Shifted<kHour>);
    ApiOverride<&PlatformApi::LocalFileTimeToFileTime> toUtc(&Shifted<-int64_t{kHour}>);
    localFails = false;
    ComPtr<FileTimeRecord> utc = FileTimeRecord::Make(FileTimeOfCount(kNoon2003), false);
    EXPECT_EQ(Converted(utc.Get(), &FileTimeRecord::ConvertToLocal), kNoon2003 + kHour);
    EXPECT_EQ(Converted(utc.Get(), &FileTimeRecord::ConvertToUtc), kNoon2003 - kHour);
    EXPECT_EQ(FileTimeCount(utc->Time()), kNoon2003);
    EXPECT_EQ(Converted(FileTimeRecord::Make().Get(), &FileTimeRecord::ConvertToLocal), 0u) << "zero stays zero";
    EXPECT_EQ(FileTimeCount(UtcFileTimeOf(FILETIME{})), 0u);
    EXPECT_EQ(FileTimeCount(FileTimeRecord::Make(FileTimeOfCount(kNoon2003), true)->Time()), kNoon2003 + kHour);
    localFails = true;
    EXPECT_EQ(FileTimeCount(LocalFileTimeOf(FileTimeOfCount(kNoon2003))), 0u);
    EXPECT_EQ(FileTimeCount(UtcFileTimeOf(FileTimeOfCount(kNoon2003))), 0u);
}

// Another implementation of Win32FileTime (a library object of another class, so not a
// FileTimeRecord): it is read through its two words, not through its address.
class ForeignFileTime final : public ComObject<ForeignFileTime, ::Win32FileTime> {
public:
    static constexpr wchar_t kClassName[] = L"ForeignFileTime";
    HRESULT STDMETHODCALLTYPE get_PreciseValue(VARIANT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Value(DATE*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lpFileTime(LONG* value) override { return *value = 8, S_OK; }
    HRESULT STDMETHODCALLTYPE get_dwLowDateTime(LONG* value) override { return *value = 0x89ABCDEF, S_OK; }
    HRESULT STDMETHODCALLTYPE get_dwHighDateTime(LONG* value) override { return *value = 0x01234567, S_OK; }
    HRESULT STDMETHODCALLTYPE ConvertToLocal(IDispatch**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ConvertToUtc(IDispatch**) override { return E_NOTIMPL; }

private:
    friend class ComObject<ForeignFileTime, ::Win32FileTime>;
    ForeignFileTime() = default;
};

TEST(FileTimes, TimeValuesFromClients) {
    ComPtr<FileTimeRecord> record = FileTimeRecord::Make(FILETIME{11, 7}, false);
    Variant decimal = DecimalValue(7, 9, 5), decimalByReference;
    V_VT(decimalByReference.Get()) = VT_BYREF | VT_DECIMAL;
    V_DECIMALREF(decimalByReference.Get()) = &V_DECIMAL(decimal.Get());
    const std::pair<Variant, uint64_t> cases[] = {
        {Variant::FromObject(record->AsDispatch()), (7ULL << 32) | 11},
        {Variant::FromObject(ForeignFileTime::Make()->AsDispatch()), 0x0123456789ABCDEFULL},
        {DecimalValue(7, 9, 5), (7ULL << 32) | 5},               // a Decimal's low and top words
        {PreciseValue((1ULL << 32) | 5), 5},                     // so a precise value loses its high word
        {std::move(decimalByReference), (7ULL << 32) | 5},
        {Coerced(DoubleValue(37622.5), VT_DATE), kNoon2003},
        {DoubleValue(2), kDateZero + 2 * kDay},
        {StringValue(L"2003-01-01"), kDateZero + 37622 * kDay},
    };
    for (const auto& [value, expected] : cases) EXPECT_EQ(FileTimeCount(FileTimeFromValue(*value.Get())), expected);

    const Variant refused[] = {NullValue(), StringValue(L"soon"), Variant::FromObject(nullptr),
                               Variant::FromObject(FindDataRecord::Make()->AsDispatch()), Missing()};
    for (const Variant& value : refused) {
        EXPECT_EQ(Raised(CaughtError([&] { FileTimeFromValue(*value.Get()); })), Raised(L"MFileSystemLib", RunTime(5)))
            << value.Type();
    }
}

TEST(Win32FileTime, PreciseValueWordsAndAddress) {
    const std::pair<FILETIME, uint64_t> cases[] = {
        {{0, 0}, 0}, {{5, 1}, 4294967301ULL}, {{1, 0x80000000}, 0x8000000000000001ULL},
        {{0xFFFFFFFF, 0xFFFFFFFF}, UINT64_MAX}};
    for (const auto& [time, precise] : cases) {
        ComPtr<FileTimeRecord> record = FileTimeRecord::Make(time, false);
        Variant value;
        ASSERT_EQ(record->get_PreciseValue(value.Get()), S_OK);
        EXPECT_EQ(PreciseOf(value), precise);
        EXPECT_EQ(JoinWords(ValueOf<LONG>(record.Get(), &FileTimeRecord::get_dwHighDateTime),
                            ValueOf<LONG>(record.Get(), &FileTimeRecord::get_dwLowDateTime)), precise);
        record->SetPreciseValue(*value.Get());
        EXPECT_EQ(FileTimeCount(record->Time()), precise) << "a precise value comes back whole";
    }
    ComPtr<FileTimeRecord> record = FileTimeRecord::Make();
    record->SetPreciseValue(*DecimalValue(9, 1, 5).Get());
    EXPECT_EQ(FileTimeCount(record->Time()), (1ULL << 32) | 5) << "a Decimal's middle and low words, the top ignored";
    EXPECT_EQ(CaughtError([&] { record->SetPreciseValue(*StringValue(L"late").Get()); }).number, RunTime(13));
    EXPECT_EQ(FileTimeCount(record->Time()), (1ULL << 32) | 5) << "a refused value changes nothing";

    record = FileTimeRecord::Make(FileTimeOfCount(kDateZero + 37622 * kDay), false);
    FILETIME atAddress{};
    const LONG address = ValueOf<LONG>(record.Get(), &FileTimeRecord::get_lpFileTime);
    std::memcpy(&atAddress, reinterpret_cast<const void*>(static_cast<INT_PTR>(address)), sizeof atAddress);
    EXPECT_EQ(FileTimeCount(atAddress), kDateZero + 37622 * kDay);
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
    EXPECT_EQ(record->Attributes(), static_cast<DWORD>(FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(PreciseOf(record->FileSize()), (1ULL << 32) | 5);
    EXPECT_EQ(PreciseOf(record->PreciseCreationTime()), kCreated);
    EXPECT_EQ(PreciseOf(record->PreciseLastAccessTime()), kAccessed);
    EXPECT_EQ(PreciseOf(record->PreciseLastWriteTime()), kWritten);
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
}

TEST(FindData, VersionRule) {
    const std::tuple<long, long, bool, std::optional<long>> cases[] = {  // current, requested, NT, next
        {0, 1, true, 2}, {0, 2, false, 1}, {0, -1, false, 1}, {1, 2, true, 2}, {2, 7, true, 7}, {1, 0, false, 0},
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
    EXPECT_EQ(Raised(TakeError(record->put_Version(1))), Raised(L"Win32FindData", RunTime(5)));
    EXPECT_EQ(ValueOf<LONG>(record.Get(), &FindDataRecord::get_Version), 7);
    std::array<uint8_t, find_record::kBufferSize> bytes{};
    bytes[find_record::kFileNameOffset] = 'x';
    EXPECT_EQ(CaughtError([&] { record->InitializeFrom(bytes.data(), 2); }).number, RunTime(5));
    EXPECT_EQ(record->Bytes()[find_record::kFileNameOffset], 0) << "a refused record copies nothing";
}

TEST(FindData, SettersOfSizeTimesAttributesAndNames) {
    const std::pair<Variant, uint64_t> sizes[] = {
        {Coerced(LongValue(300), VT_I2), 300}, {LongValue(-1), 1},  // the sign is not a size word
        {Coerced(DoubleValue(2.5), VT_CY), 25000},                  // the mantissa of 2.5000
        {DecimalValue(9, 1, 5), (1ULL << 32) | 5},                    // the top word is not a size word
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
    record->SetLastWriteTime(*Coerced(DoubleValue(37622), VT_DATE).Get());
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

std::vector<std::wstring> calls;             // the names the stand-ins below were given, in order
DWORD refusal = NO_ERROR;                    // CreateDirectory's answer
DWORD searchRefusal = ERROR_PATH_NOT_FOUND;  // FindFirstFile's failure
int opened = 0, closed = 0;                  // searches
int nextsLeft = 0;                           // FindNextFile calls that succeed before one fails

BOOL WINAPI RecordMove(LPCWSTR from, LPCWSTR to) {
    calls.insert(calls.end(), {from, to});
    return MoveFileW(from, to);
}
BOOL WINAPI RecordCreateDirectory(LPCWSTR path, LPSECURITY_ATTRIBUTES) {
    return calls.push_back(path), SetLastError(refusal), refusal == NO_ERROR;
}
DWORD WINAPI NothingThere(LPCWSTR) { return SetLastError(ERROR_PATH_NOT_FOUND), INVALID_FILE_ATTRIBUTES; }
HANDLE WINAPI FindFails(LPCWSTR, LPWIN32_FIND_DATAW) { return SetLastError(searchRefusal), INVALID_HANDLE_VALUE; }
HANDLE WINAPI CountingFindFirst(LPCWSTR pattern, LPWIN32_FIND_DATAW data) {
    HANDLE search = FindFirstFileW(pattern, data);
    opened += search != INVALID_HANDLE_VALUE;
    return search;
}
BOOL WINAPI CountingFindClose(HANDLE search) { return ++closed, FindClose(search); }
BOOL WINAPI FailWhenNoNextIsLeft(HANDLE search, LPWIN32_FIND_DATAW data) {
    if (nextsLeft-- > 0) return FindNextFileW(search, data);
    SetLastError(ERROR_NETNAME_DELETED);
    return FALSE;
}

// A scratch folder with a.txt, b.txt, c.log and sub; searches are counted.
class FolderItems : public ::testing::Test {
protected:
    void SetUp() override {
        for (const wchar_t* name : {L"a.txt", L"b.txt", L"c.log"}) scratch_.WriteFile(name, "x");
        scratch_.MakeFolder(L"sub");
        calls.clear();
        opened = closed = 0;
        nextsLeft = 1000;
        searchRefusal = ERROR_PATH_NOT_FOUND;
    }
    ComPtr<FolderEnumerator> Opened(const wchar_t* filter) {
        ComPtr<FolderEnumerator> entries = FolderEnumerator::Make();
        entries->Open(scratch_.Path(), filter);
        return entries;
    }
    ScratchFolder scratch_;
    WideCallSettingGuard setting_;
    ApiOverride<&PlatformApi::FindFirstFileW> opening_{&CountingFindFirst};
    ApiOverride<&PlatformApi::FindClose> closing_{&CountingFindClose};
};

TEST_F(FolderItems, RenamingAnItemAtADriveRootNamesItExactly) {
    // v: is a drive of the test session (a folder of the build tree). Long-path names
    // are taken as they stand, so a doubled separator would name nothing on Windows.
    DeleteFileW(L"V:\\renamed.txt");
    HANDLE file = CreateFileW(L"V:\\at root.txt", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE) << "the session's drive v: is missing";
    CloseHandle(file);
    ApiOverride<&PlatformApi::MoveFileW> recording(&RecordMove);
    ComPtr<FolderItem> item = FolderItem::Open(std::wstring(L"V:\\at root.txt"));
    ASSERT_EQ(item->put_Name(Bstr(L"renamed.txt").Get()), S_OK);
    EXPECT_EQ(calls, (std::vector<std::wstring>{L"\\\\?\\V:\\at root.txt", L"\\\\?\\V:\\renamed.txt"}));
    DeleteFileW(L"V:\\renamed.txt");
}

TEST_F(FolderItems, CreateFolderMakesTheMissingChainBelowAShareAndStopsAtAFailure) {
    ApiOverride<&PlatformApi::CreateDirectoryW> create(&RecordCreateDirectory);
    ApiOverride<&PlatformApi::GetFileAttributesW> attributes(&NothingThere);
    ApiOverride<&PlatformApi::FindFirstFileW> find(&FindFails);
    ComPtr<FolderItem> item = FolderItem::Open(L"\\\\server\\share\\x\\y");
    refusal = NO_ERROR;
    ASSERT_EQ(item->CreateFolder(), S_OK);
    EXPECT_EQ(calls, (std::vector<std::wstring>{L"\\\\?\\UNC\\server\\share\\x", L"\\\\?\\UNC\\server\\share\\x\\y"}))
        << "server and share are never created";
    calls.clear();
    refusal = ERROR_ACCESS_DENIED;
    const ErrorRecord error = TakeError(item->CreateFolder());
    EXPECT_EQ(error.number, System(ERROR_ACCESS_DENIED));
    EXPECT_EQ(error.source + L"|" + error.description, L"FolderItem|" + vofs::SystemErrorText(ERROR_ACCESS_DENIED));
    EXPECT_EQ(calls.size(), 1u) << "the first failure stops the chain";
}

TEST_F(FolderItems, AFailedRefreshLeavesTheItemUnusableUntilOneSucceeds) {
    ComPtr<FolderItem> item = FolderItem::Open(scratch_ / L"a.txt");
    {
        ApiOverride<&PlatformApi::FindFirstFileW> failing(&FindFails);
        searchRefusal = ERROR_ACCESS_DENIED;
        EXPECT_EQ(Raised(TakeError(item->Refresh())), Raised(L"FolderItem", System(ERROR_ACCESS_DENIED)));
        Bstr name;
        EXPECT_EQ(TakeError(item->get_Name(name.Receive())).number, RunTime(5));
        for (DWORD code : {DWORD{ERROR_FILE_NOT_FOUND}, DWORD{ERROR_PATH_NOT_FOUND}, DWORD{ERROR_NO_MORE_FILES}}) {
            searchRefusal = code;
            EXPECT_EQ(item->Refresh(), S_OK) << code << " only says the item is not there";
            EXPECT_EQ(ValueOf<VARIANT_BOOL>(item.Get(), &FolderItem::get_Exists), VARIANT_FALSE);
        }
    }
    ASSERT_EQ(item->Refresh(), S_OK);
    EXPECT_EQ(TextOf(item.Get(), &FolderItem::get_Name), L"a.txt");
}

TEST_F(FolderItems, EverySearchIsClosedOnce) {
    ComPtr<FolderItem> item = FolderItem::Open(scratch_ / L"a.txt");
    ASSERT_EQ(item->put_Cached(VARIANT_FALSE), S_OK);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(ValueOf<VARIANT_BOOL>(item.Get(), &FolderItem::get_Exists), VARIANT_TRUE);
    ValueOf<ComPtr<_IFolderItem>>(item.Get(), &FolderItem::get_Parent);
    ComPtr<_FolderEnumerator> entries;
    ASSERT_EQ(FolderItem::Open(scratch_.Path())->EnumFolder(nullptr, &entries), S_OK);
    entries.Reset();
    EXPECT_EQ(opened - closed, 0) << "an item's searches";

    ComPtr<FolderEnumerator> walk = Opened(L"");
    walk->Open(scratch_.Path(), L"*.txt");
    EXPECT_EQ(opened - closed, 1) << "opening again ends the previous search";
    walk->CloseEnumerator();
    walk->CloseEnumerator();
    EXPECT_EQ(opened - closed, 0) << "closed once, however often asked";
    Opened(L"").Reset();
    EXPECT_EQ(opened - closed, 0) << "released while open";
    walk = Opened(L"");
    for (VARIANT_BOOL more = VARIANT_TRUE; more;) {
        auto entry =
            ValueOf<ComPtr<_IFolderItem>>(static_cast<_IFolderEnumerator*>(walk.Get()), &_IFolderEnumerator::GetFolderItem);
        ValueOf<ComPtr<_IFolderItem>>(entry.Get(), &_IFolderItem::get_Parent);
        ASSERT_EQ(walk->GetNextItem(&more), S_OK);
    }
    EXPECT_FALSE(walk->IsOpen()) << "the end of the walk closes it";
    walk.Reset();
    EXPECT_EQ(opened - closed, 0);
}

TEST_F(FolderItems, AFailureMidWalkClosesTheSearchAndRaises) {
    ApiOverride<&PlatformApi::FindNextFileW> failing(&FailWhenNoNextIsLeft);
    ComPtr<FolderEnumerator> entries = Opened(L"");  // passes over "." and ".." itself
    nextsLeft = 1;                                   // one step further, then the failure
    VARIANT_BOOL more = VARIANT_TRUE;
    HRESULT result = S_OK;
    while (result == S_OK && more) result = entries->GetNextItem(&more);
    EXPECT_EQ(Raised(TakeError(result)), Raised(L"FolderEnumerator", System(ERROR_NETNAME_DELETED)));
    EXPECT_FALSE(entries->IsOpen());
    entries.Reset();
    EXPECT_EQ(opened - closed, 0) << "closed once, not again on release";
}

}  // namespace
}  // namespace vofs::testing
