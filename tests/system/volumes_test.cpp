// Volumes and Volume against the drives of the test prefix (c: and z: from Wine, v: a
// folder of the build tree, w: a drive letter whose target is missing; the session
// script makes them), and through the seam for the platform's rarer answers.

#include "common/platform_api.h"
#include "facade/file_system_lib.h"
#include "frame/class_table.h"
#include "frame/module.h"
#include "system/volume.h"
#include "system/volumes.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace vofs::testing {
namespace {

// The drives as the platform's bit mask lists them, in the form the drive list has ("C:\").
std::vector<std::wstring> DrivesOfThePrefix() {
    std::vector<std::wstring> drives;
    const DWORD mask = GetLogicalDrives();
    for (int letter = 0; letter < 26; ++letter) {
        if (mask & (1u << letter)) drives.push_back(std::wstring(1, static_cast<wchar_t>(L'A' + letter)) + L":\\");
    }
    return drives;
}

bool HasTestDrives() {
    return GetDriveTypeW(L"V:\\") == DRIVE_FIXED && (GetLogicalDrives() & (1u << (L'W' - L'A')));
}

ComPtr<Volume> ItemOf(Volumes& volumes, const Variant& index) {
    ComPtr<_Volume> volume;
    EXPECT_EQ(volumes.get_Item(*index.Get(), &volume), S_OK);
    return ComPtr<Volume>(ImplementationOf<Volume>(volume.Get()));
}

std::wstring NameOf(_Volume* volume) {
    Bstr name;
    EXPECT_EQ(volume->get_VolumeName(name.Receive()), S_OK);
    return std::wstring(name.View());
}

class VolumesOfThePrefix : public ::testing::Test {
protected:
    void SetUp() override {
        if (!HasTestDrives()) GTEST_SKIP() << "the test drives v: and w: are missing: run inside the test session";
    }
};

TEST_F(VolumesOfThePrefix, ListsEveryDriveInThePlatformsOrder) {
    ComPtr<Volumes> volumes = Volumes::Make();
    const std::vector<std::wstring> drives = DrivesOfThePrefix();
    LONG count = 0;
    ASSERT_EQ(volumes->get_Count(&count), S_OK);
    ASSERT_EQ(count, static_cast<LONG>(drives.size()));
    for (size_t at = 0; at < drives.size(); ++at) {
        ComPtr<Volume> volume = ItemOf(*volumes.Get(), LongValue(static_cast<LONG>(at + 1)));
        ASSERT_TRUE(volume) << at + 1;
        EXPECT_EQ(NameOf(volume.Get()), drives[at]);
    }
}

TEST_F(VolumesOfThePrefix, ItemByLetterPathAndPosition) {
    ComPtr<Volumes> volumes = Volumes::Make();
    const std::vector<std::wstring> drives = DrivesOfThePrefix();
    size_t vPosition = 0;
    while (drives[vPosition] != L"V:\\") ++vPosition;
    ComPtr<Volume> v = ItemOf(*volumes.Get(), StringValue(L"v"));
    ASSERT_TRUE(v);
    EXPECT_EQ(v->VolumeName(), L"V:\\");

    Variant decimal;
    V_VT(decimal.Get()) = VT_DECIMAL;
    VarDecFromI4(static_cast<LONG>(vPosition + 1), &V_DECIMAL(decimal.Get()));
    V_VT(decimal.Get()) = VT_DECIMAL;
    Variant byReference;
    Variant letter = StringValue(L"V");
    V_VT(byReference.Get()) = VT_BYREF | VT_VARIANT;
    V_VARIANTREF(byReference.Get()) = letter.Get();
    struct Case {
        const char* name;
        Variant index;
    };
    Case same[] = {
        {"upper-case letter", StringValue(L"V")},
        {"drive path", StringValue(L"V:\\some\\folder")},
        {"drive alone", StringValue(L"v:")},
        {"blanks around a path", StringValue(L"  v:\\x  ")},
        {"position", LongValue(static_cast<LONG>(vPosition + 1))},
        {"position as a Double", DoubleValue(static_cast<double>(vPosition + 1))},
        {"position as a Decimal", std::move(decimal)},
        {"a variable passed by reference", std::move(byReference)},
    };
    for (Case& c : same) EXPECT_EQ(ItemOf(*volumes.Get(), c.index).Get(), v.Get()) << c.name;

    Variant null, missing;
    V_VT(null.Get()) = VT_NULL;
    V_VT(missing.Get()) = VT_ERROR;
    V_ERROR(missing.Get()) = DISP_E_PARAMNOTFOUND;
    Case unknown[] = {
        {"a letter that is no drive", StringValue(L"q")},
        {"a path on no drive", StringValue(L"Q:\\x")},
        {"position 0", LongValue(0)},
        {"position past the end", LongValue(static_cast<LONG>(drives.size() + 1))},
        {"negative position", LongValue(-1)},
        {"a position too large for a Long", DoubleValue(1e12)},
        {"a share", StringValue(L"\\\\server\\share")},
        {"empty text", StringValue(L"")},
        {"Null", std::move(null)},
        {"a missing index", std::move(missing)},
    };
    for (Case& c : unknown) {
        ComPtr<_Volume> volume;
        EXPECT_EQ(volumes->get_Item(*c.index.Get(), &volume), S_OK) << c.name << ": Item never raises";
        EXPECT_EQ(volume.Get(), nullptr) << c.name;
    }
}

TEST_F(VolumesOfThePrefix, DriveTypesAndMounting) {
    ComPtr<Volumes> volumes = Volumes::Make();
    struct Case {
        const wchar_t* letter;
        VolumeTypes type;
        VARIANT_BOOL mounted;
    };
    const Case cases[] = {
        {L"v", FixedDrive, VARIANT_TRUE},
        {L"w", NoRootDirDrive, VARIANT_FALSE},  // listed by the platform, its target missing
    };
    for (const Case& c : cases) {
        ComPtr<Volume> volume = ItemOf(*volumes.Get(), StringValue(c.letter));
        ASSERT_TRUE(volume) << "the drive list names every letter of the prefix";
        VolumeTypes type{};
        ASSERT_EQ(volume->get_VolumeType(&type), S_OK);
        EXPECT_EQ(type, c.type);
        VARIANT_BOOL mounted = VARIANT_FALSE;
        ASSERT_EQ(volume->get_IsMounted(&mounted), S_OK);
        EXPECT_EQ(mounted, c.mounted);
    }
}

TEST_F(VolumesOfThePrefix, BindToVolumeReadsAtOnceAndReplacesTheEntry) {
    ComPtr<Volumes> volumes = Volumes::Make();
    const long count = volumes->Count();
    ComPtr<Volume> listed = ItemOf(*volumes.Get(), StringValue(L"v"));

    ComPtr<_Volume> first, second;
    Bstr path(L"v:\\deeper\\folder"), again(L"V:\\");
    ASSERT_EQ(volumes->BindToVolume(path.Get(), &first), S_OK);
    EXPECT_EQ(NameOf(first.Get()), L"v:\\") << "the root as the path wrote it";
    EXPECT_NE(first.Get(), static_cast<_Volume*>(listed.Get()));
    EXPECT_EQ(ItemOf(*volumes.Get(), StringValue(L"V")).Get(), ImplementationOf<Volume>(first.Get()));

    ASSERT_EQ(volumes->BindToVolume(again.Get(), &second), S_OK);
    EXPECT_NE(second.Get(), first.Get());
    EXPECT_EQ(ItemOf(*volumes.Get(), StringValue(L"v")).Get(), ImplementationOf<Volume>(second.Get()));
    EXPECT_EQ(volumes->Count(), count) << "replaced, not added";
    EXPECT_EQ(ItemOf(*volumes.Get(), LongValue(count)).Get(), ImplementationOf<Volume>(second.Get()))
        << "a replaced entry moves to the end of the drives";
}

TEST(Volumes, BindToVolumeOfNoVolumeRaises) {
    ComPtr<Volumes> volumes = Volumes::Make();
    const long count = volumes->Count();
    ComPtr<_Volume> volume;
    Bstr missing(L"Q:\\"), nonsense(L"no path");
    ErrorRecord error = TakeError(volumes->BindToVolume(missing.Get(), &volume));
    EXPECT_EQ(error.number, System(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(error.source, L"Volume");
    EXPECT_EQ(volume.Get(), nullptr);
    EXPECT_EQ(volumes->Count(), count);
    EXPECT_FALSE(ItemOf(*volumes.Get(), StringValue(L"q")));

    error = TakeError(volumes->BindToVolume(nonsense.Get(), &volume));
    EXPECT_EQ(error.number, RunTime(5));
}

int volumeReads = 0;
BOOL WINAPI RefusingVolumeInformationW(LPCWSTR, LPWSTR, DWORD, LPDWORD, LPDWORD, LPDWORD, LPWSTR, DWORD) {
    ++volumeReads;
    SetLastError(ERROR_NOT_READY);
    return FALSE;
}
BOOL WINAPI RefusingVolumeInformationA(LPCSTR, LPSTR, DWORD, LPDWORD, LPDWORD, LPDWORD, LPSTR, DWORD) {
    ++volumeReads;
    SetLastError(ERROR_NOT_READY);
    return FALSE;
}

TEST(Volumes, UrlVolumesAnswerTheirProtocolAndLiveWithTheShares) {
    volumeReads = 0;
    ApiOverride<&PlatformApi::GetVolumeInformationW> refusingW(&RefusingVolumeInformationW);
    ApiOverride<&PlatformApi::GetVolumeInformationA> refusingA(&RefusingVolumeInformationA);
    ComPtr<Volumes> volumes = Volumes::Make();
    ComPtr<Volume> bound = volumes->BindToVolume(L"FTP://Host.Example/pub/file.txt");
    EXPECT_EQ(bound->VolumeName(), L"FTP://Host.Example");
    Bstr name;
    ASSERT_EQ(bound->get_FileSystemName(name.Receive()), S_OK);
    EXPECT_EQ(name.View(), L"ftp");
    ASSERT_EQ(bound->get_FileSystemName(name.Receive()), S_OK);
    EXPECT_EQ(volumeReads, 0) << "a URL has no volume to ask";
    VARIANT_BOOL flag = VARIANT_TRUE;
    EXPECT_EQ(bound->get_PersistentAcls(&flag), S_OK);
    EXPECT_EQ(flag, VARIANT_FALSE);
    VolumeTypes type{};
    EXPECT_EQ(TakeError(bound->get_VolumeType(&type)).number, RunTime(5)) << "neither a drive nor a share";

    EXPECT_FALSE(ItemOf(*volumes.Get(), StringValue(L"ftp://host.example"))) << "Item looks at the drives only";
    EXPECT_EQ(volumes->Lookup(L"ftp://host.example").Get(), bound.Get()) << "found among the shares";
    volumes->ReadDrives();
    EXPECT_NE(volumes->Lookup(L"ftp://host.example").Get(), bound.Get()) << "Refresh dropped the shares";
}

TEST(Volumes, LookupFindsDrivesThenSharesThenBinds) {
    ComPtr<Volumes> volumes = Volumes::Make();
    ComPtr<Volume> c = ItemOf(*volumes.Get(), StringValue(L"c"));
    ASSERT_TRUE(c);
    EXPECT_EQ(volumes->Lookup(L"C:\\windows").Get(), c.Get());
    EXPECT_EQ(volumes->Lookup(L"c").Get(), c.Get());
    const ErrorRecord error = CaughtError([&] { volumes->Lookup(L"Q:\\"); });
    EXPECT_EQ(error.number, System(ERROR_PATH_NOT_FOUND)) << "the binding's errors pass through";
    EXPECT_EQ(error.source, L"Volume");
}

// ---- the volume data through the seam

DWORD fakeFlags = 0;
int fakeReads = 0;
DWORD fakeError = 0;

BOOL WINAPI FakeVolumeInformationW(LPCWSTR, LPWSTR label, DWORD labelLength, LPDWORD serial, LPDWORD maxLength,
                                   LPDWORD flags, LPWSTR fileSystem, DWORD fileSystemLength) {
    ++fakeReads;
    if (fakeError) {
        SetLastError(fakeError);
        return FALSE;
    }
    lstrcpynW(label, L"DATA DISK", static_cast<int>(labelLength));
    lstrcpynW(fileSystem, L"FAT32", static_cast<int>(fileSystemLength));
    *serial = 0xDEADBEEF;
    *maxLength = 12;
    *flags = fakeFlags;
    return TRUE;
}

class FakeVolumeData : public ::testing::Test {
protected:
    void SetUp() override {
        fakeFlags = 0;
        fakeReads = 0;
        fakeError = 0;
    }
    ApiOverride<&PlatformApi::GetVolumeInformationW> fake_{&FakeVolumeInformationW};
    WideCallSettingGuard setting_;
};

TEST_F(FakeVolumeData, EveryFlagHasItsBit) {
    using Getter = HRESULT (STDMETHODCALLTYPE _Volume::*)(VARIANT_BOOL*);
    struct Flag {
        const char* name;
        Getter getter;
        DWORD bit;
    };
    const Flag flags[] = {
        {"CasePreservedNames", &_Volume::get_CasePreservedNames, 0x2},
        {"UnicodeOnDisk", &_Volume::get_UnicodeOnDisk, 0x4},
        {"PersistentAcls", &_Volume::get_PersistentAcls, 0x8},
        {"FileCompression", &_Volume::get_FileCompression, 0x10},
        {"VolumeQuotas", &_Volume::get_VolumeQuotas, 0x20},
        {"SupportsSparseFiles", &_Volume::get_SupportsSparseFiles, 0x40},
        {"SupportsReparsePoints", &_Volume::get_SupportsReparsePoints, 0x80},
        {"SupportsRemoteStorage", &_Volume::get_SupportsRemoteStorage, 0x100},
        {"SupportsObjectIds", &_Volume::get_SupportsObjectIds, 0x10000},
        {"SupportsEncryption", &_Volume::get_SupportsEncryption, 0x20000},
    };
    // Each bit alone, and the case-sensitive bit (no property) alone.
    std::vector<DWORD> cases = {0x1};
    for (const Flag& f : flags) cases.push_back(f.bit);
    for (DWORD set : cases) {
        fakeFlags = set;
        ComPtr<Volume> volume = Volume::Bind(L"C:\\");
        for (const Flag& f : flags) {
            VARIANT_BOOL value = VARIANT_TRUE;
            ASSERT_EQ((volume.Get()->*f.getter)(&value), S_OK);
            EXPECT_EQ(value != VARIANT_FALSE, f.bit == set) << f.name << " with flags " << std::hex << set;
        }
    }

    // VolumeIsCompressed: any bit from &H8000 up.
    const std::pair<DWORD, bool> compressed[] = {
        {0x7FFF, false}, {0x8000, true}, {0x10000, true}, {0x20000, true}, {0x80000000, true}, {0x10, false},
    };
    for (const auto& [set, expected] : compressed) {
        fakeFlags = set;
        ComPtr<Volume> volume = Volume::Bind(L"C:\\");
        VARIANT_BOOL value = VARIANT_FALSE;
        ASSERT_EQ(volume->get_VolumeIsCompressed(&value), S_OK);
        EXPECT_EQ(value != VARIANT_FALSE, expected) << std::hex << set;
    }
}

TEST_F(FakeVolumeData, ReadOnceUntilRefresh) {
    ComPtr<Volume> volume = Volume::Bind(L"c:\\windows\\system32");
    Bstr text;
    ASSERT_EQ(volume->get_VolumeName(text.Receive()), S_OK);
    EXPECT_EQ(text.View(), L"c:\\");
    EXPECT_EQ(fakeReads, 0) << "VolumeName reads nothing";
    ASSERT_EQ(volume->get_VolumeLabel(text.Receive()), S_OK);
    EXPECT_EQ(text.View(), L"DATA DISK");
    LONG number = 0;
    ASSERT_EQ(volume->get_SerialNumber(&number), S_OK);
    EXPECT_EQ(number, static_cast<LONG>(0xDEADBEEF));
    ASSERT_EQ(volume->get_MaxComponentLength(&number), S_OK);
    EXPECT_EQ(number, 12);
    EXPECT_EQ(fakeReads, 1);
    ASSERT_EQ(volume->Refresh(), S_OK);
    ASSERT_EQ(volume->get_FileSystemName(text.Receive()), S_OK);
    EXPECT_EQ(text.View(), L"FAT32");
    EXPECT_EQ(fakeReads, 2);
}

TEST_F(FakeVolumeData, AFailedReadRaisesFromTheDataMembersOnly) {
    fakeError = ERROR_NOT_READY;
    ComPtr<Volume> volume = Volume::Bind(L"C:\\");
    Bstr text;
    const ErrorRecord error = TakeError(volume->get_FileSystemName(text.Receive()));
    EXPECT_EQ(error.number, System(ERROR_NOT_READY));
    EXPECT_EQ(error.source, L"Volume");
    EXPECT_EQ(TakeError(volume->Refresh()).number, System(ERROR_NOT_READY));
    EXPECT_EQ(volume->get_VolumeName(text.Receive()), S_OK);
    VolumeTypes type{};
    EXPECT_EQ(volume->get_VolumeType(&type), S_OK) << "a drive without medium still has a type";
    EXPECT_EQ(type, FixedDrive);
}

std::string driveTypeRoot;
UINT WINAPI RecordingDriveType(LPCSTR root) {
    driveTypeRoot = root;
    return DRIVE_REMOTE;
}

TEST_F(FakeVolumeData, DriveTypeAsksForTheRoot) {
    ApiOverride<&PlatformApi::GetDriveTypeA> recording(&RecordingDriveType);
    struct Case {
        const wchar_t* path;
        const char* root;
    };
    const Case cases[] = {
        {L"v:\\folder\\file.txt", "v:\\"},
        {L"V:", "V:\\"},
        {L"\\\\server\\share\\folder", "\\\\server\\share"},
    };
    for (const Case& c : cases) {
        driveTypeRoot.clear();
        ComPtr<Volume> volume = Volume::Bind(c.path);
        VolumeTypes type{};
        ASSERT_EQ(volume->get_VolumeType(&type), S_OK);
        EXPECT_EQ(type, RemoteDrive);
        EXPECT_EQ(driveTypeRoot, c.root);
    }
}

// ---- the drive list

std::string fakeDriveList;
DWORD fakeListLength = 0;

DWORD WINAPI FakeDriveStrings(DWORD length, LPSTR buffer) {
    fakeListLength = length;
    if (fakeDriveList.empty()) {
        SetLastError(ERROR_ACCESS_DENIED);
        return 0;
    }
    const DWORD needed = static_cast<DWORD>(fakeDriveList.size());
    if (needed + 1 > length) return needed + 1;  // as the platform does: nothing written
    memcpy(buffer, fakeDriveList.data(), needed + 1);
    return needed;
}

std::string DriveList(int drives) {
    std::string list;
    for (int i = 0; i < drives; ++i) list += std::string(1, static_cast<char>('C' + i)) + ":\\" + '\0';
    return list;
}

TEST(DriveList, ThirteenDrivesFitAndMoreGiveNone) {
    ApiOverride<&PlatformApi::GetLogicalDriveStringsA> fake(&FakeDriveStrings);
    for (int drives : {1, 13}) {
        fakeDriveList = DriveList(drives);
        ComPtr<Volumes> volumes = Volumes::Make();
        EXPECT_EQ(fakeListLength, 53u);
        EXPECT_EQ(volumes->Count(), drives);
        EXPECT_EQ(ItemOf(*volumes.Get(), LongValue(drives))->VolumeName(),
                  std::wstring(1, static_cast<wchar_t>(L'C' + drives - 1)) + L":\\");
    }
    fakeDriveList = DriveList(14);
    EXPECT_EQ(Volumes::Make()->Count(), 0) << "the platform fills nothing into a buffer that is too small";
}

TEST(DriveList, AFailedListRaisesOnRefreshButNotOnCreation) {
    ApiOverride<&PlatformApi::GetLogicalDriveStringsA> fake(&FakeDriveStrings);
    fakeDriveList = DriveList(2);
    ComPtr<Volumes> volumes = Volumes::Make();
    ASSERT_EQ(volumes->Count(), 2);
    fakeDriveList.clear();
    const ErrorRecord error = TakeError(volumes->Refresh());
    EXPECT_EQ(error.number, System(ERROR_ACCESS_DENIED));
    EXPECT_EQ(error.source, L"Volumes");
    EXPECT_EQ(volumes->Count(), 2) << "a failed refresh keeps what was there";

    ComPtr<Volumes> empty = Volumes::Make();
    EXPECT_EQ(empty->Count(), 0);
}

// ---- enumeration, sharing, creation

TEST(Volumes, EnumeratesTheDrives) {
    const long before = module::LiveObjects();
    {
        ComPtr<Volumes> volumes = Volumes::Make();
        ComPtr<IUnknown> unknown;
        ASSERT_EQ(volumes->NewEnum(&unknown), S_OK);
        ComPtr<IEnumVARIANT> enumerator;
        ASSERT_EQ(unknown.As(&enumerator), S_OK);
        std::vector<std::wstring> names;
        for (;;) {
            Variant item;
            ULONG fetched = 0;
            if (enumerator->Next(1, item.Get(), &fetched) != S_OK) {
                EXPECT_EQ(fetched, 0u);
                break;
            }
            ASSERT_EQ(item.Type(), VT_DISPATCH);
            ComPtr<_Volume> volume;
            ASSERT_EQ(V_DISPATCH(item.Get())->QueryInterface(IID_PPV_ARGS(&volume)), S_OK);
            names.push_back(NameOf(volume.Get()));
        }
        EXPECT_EQ(names, DrivesOfThePrefix());

        ASSERT_EQ(enumerator->Reset(), S_OK);
        EXPECT_EQ(enumerator->Skip(1), S_OK);
        ComPtr<IEnumVARIANT> clone;
        ASSERT_EQ(enumerator->Clone(&clone), S_OK);
        VARIANT many[64];
        ULONG fetched = 0;
        EXPECT_EQ(clone->Next(64, many, &fetched), S_FALSE);
        EXPECT_EQ(fetched, names.size() - 1);
        for (ULONG i = 0; i < fetched; ++i) VariantClear(&many[i]);
        EXPECT_EQ(enumerator->Skip(1000), S_FALSE);
    }
    EXPECT_EQ(module::LiveObjects(), before) << "every volume and enumerator is released";
}

TEST(Volumes, OneSharedCollectionPerThreadWhileItIsHeld) {
    ComPtr<FileSystemLib> library = FileSystemLib::Make();
    ComPtr<_Volumes> first, second;
    ASSERT_EQ(library->get_Volumes(&first), S_OK);
    ASSERT_EQ(library->get_Volumes(&second), S_OK);
    EXPECT_EQ(first.Get(), second.Get());
    EXPECT_EQ(SharedVolumes().Get(), ImplementationOf<Volumes>(first.Get()));

    ComPtr<Volumes> own = Volumes::Make();
    EXPECT_NE(own.Get(), ImplementationOf<Volumes>(first.Get())) << "a created collection is its own";
    own.Reset();
    EXPECT_EQ(ThisThread().sharedVolumes, ImplementationOf<Volumes>(first.Get()));

    first.Reset();
    second.Reset();
    EXPECT_EQ(ThisThread().sharedVolumes, nullptr) << "released with its last reference";
    ComPtr<_Volumes> again;
    ASSERT_EQ(library->get_Volumes(&again), S_OK);
    ASSERT_NE(again.Get(), nullptr);
    LONG count = 0;
    EXPECT_EQ(again->get_Count(&count), S_OK);
    EXPECT_EQ(count, static_cast<LONG>(DrivesOfThePrefix().size()));
}

TEST(Volumes, CallersCreateCollectionsAndUnboundVolumes) {
    const CreatableClass* volumeClass = nullptr;
    const CreatableClass* volumesClass = nullptr;
    for (const CreatableClass& entry : CreatableClasses()) {
        if (entry.clsid == CLSID_Volume) volumeClass = &entry;
        if (entry.clsid == CLSID_Volumes) volumesClass = &entry;
    }
    ASSERT_TRUE(volumeClass && volumeClass->create && volumesClass && volumesClass->create);

    ComPtr<_Volumes> volumes;
    ASSERT_EQ(volumesClass->create(IID_PPV_ARGS(&volumes)), S_OK);
    LONG count = 0;
    EXPECT_EQ(volumes->get_Count(&count), S_OK);
    EXPECT_EQ(count, static_cast<LONG>(DrivesOfThePrefix().size()));

    ComPtr<_Volume> volume;
    ASSERT_EQ(volumeClass->create(IID_PPV_ARGS(&volume)), S_OK);
    EXPECT_EQ(NameOf(volume.Get()), L"");
    Bstr text;
    LONG number = 0;
    VARIANT_BOOL flag = VARIANT_FALSE;
    VolumeTypes type{};
    const std::function<HRESULT()> members[] = {
        [&] { return volume->get_VolumeLabel(text.Receive()); },
        [&] { return volume->get_FileSystemName(text.Receive()); },
        [&] { return volume->get_SerialNumber(&number); },
        [&] { return volume->get_SupportsEncryption(&flag); },
        [&] { return volume->Refresh(); },
        [&] { return volume->get_VolumeType(&type); },
        [&] { return volume->get_IsMounted(&flag); },
    };
    for (const auto& member : members) {
        const ErrorRecord error = TakeError(member());
        EXPECT_EQ(error.number, RunTime(5));
        EXPECT_EQ(error.source, L"Volume");
    }
}

// ---- the ANSI branch, for real under the win98 program version

class Win98Volumes : public ::testing::Test {
protected:
    void SetUp() override {
        if (IsPlatformNT()) GTEST_SKIP() << "runs under the win98 program version only (cpp_tests_win98)";
    }
};

TEST_F(Win98Volumes, VolumeDataComeFromTheAnsiCall) {
    volumeReads = 0;
    ApiOverride<&PlatformApi::GetVolumeInformationW> noWide(&RefusingVolumeInformationW);
    ComPtr<Volume> volume = Volume::Bind(L"C:\\");
    char fileSystem[256] = {};
    DWORD serial = 0;
    ASSERT_TRUE(GetVolumeInformationA("C:\\", nullptr, 0, &serial, nullptr, nullptr, fileSystem, 256));
    EXPECT_EQ(volume->FileSystemName(), std::wstring(fileSystem, fileSystem + strlen(fileSystem)));
    EXPECT_EQ(volume->SerialNumber(), serial);
    EXPECT_EQ(volumeReads, 0) << "no wide call";
}

}  // namespace
}  // namespace vofs::testing
