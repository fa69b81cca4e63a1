// Volumes and Volume where a script cannot choose the platform's answers (volumes.vbs and
// error_convention.js walk the prefix's drives): volume data and drive lists through the
// seam, index types, the enumerator, the shares and the per-thread collection.

#include "common/decimal.h"
#include "common/platform_api.h"
#include "facade/file_system_lib.h"
#include "system/volume.h"
#include "system/volumes.h"
#include "support/test_support.h"

#include <string>

namespace vofs::testing {
namespace {

DWORD fakeFlags = 0, fakeError = 0, fakeListLength = 0;
int fakeReads = 0;
std::string driveTypeRoot, fakeDriveList;  // an empty drive list: the call fails

BOOL WINAPI FakeVolumeInformationW(LPCWSTR, LPWSTR label, DWORD labelLength, LPDWORD serial, LPDWORD maxLength,
                                   LPDWORD flags, LPWSTR fileSystem, DWORD fileSystemLength) {
    ++fakeReads;
    SetLastError(fakeError);
    lstrcpynW(label, L"DATA DISK", static_cast<int>(labelLength));
    lstrcpynW(fileSystem, L"FAT32", static_cast<int>(fileSystemLength));
    *serial = 0xDEADBEEF;
    *maxLength = 12;
    *flags = fakeFlags;
    return fakeError == 0;
}
UINT WINAPI RecordingDriveType(LPCSTR root) { return driveTypeRoot = root, DRIVE_REMOTE; }
DWORD WINAPI FakeDriveStrings(DWORD length, LPSTR buffer) {
    fakeListLength = length;
    SetLastError(ERROR_ACCESS_DENIED);
    const auto needed = static_cast<DWORD>(fakeDriveList.size());
    if (needed == 0 || needed + 1 > length) return needed ? needed + 1 : 0;  // nothing written, as the platform does
    memcpy(buffer, fakeDriveList.data(), needed + 1);
    return needed;
}
std::string DriveList(int drives) {  // C:\ D:\ ..., each ended by a NUL
    std::string list;
    for (int i = 0; i < drives; ++i) list += std::string(1, static_cast<char>('C' + i)) + ":\\" + '\0';
    return list;
}

ComPtr<Volume> ItemOf(Volumes& volumes, const Variant& index) {
    ComPtr<_Volume> volume;
    EXPECT_EQ(volumes.get_Item(*index.Get(), &volume), S_OK) << "Item never raises";
    return ComPtr<Volume>(ImplementationOf<Volume>(volume.Get()));
}

class FakeVolumes : public ::testing::Test {
protected:
    void SetUp() override { fakeFlags = fakeError = fakeReads = 0; }
    ApiOverride<&PlatformApi::GetVolumeInformationW> volumeInformation_{&FakeVolumeInformationW};
    ApiOverride<&PlatformApi::GetDriveTypeA> driveType_{&RecordingDriveType};
};

TEST_F(FakeVolumes, EveryFlagHasItsBit) {
    using Getter = HRESULT (STDMETHODCALLTYPE _Volume::*)(VARIANT_BOOL*);
    const std::pair<Getter, DWORD> flags[] = {
        {&_Volume::get_CasePreservedNames, 0x2}, {&_Volume::get_UnicodeOnDisk, 0x4},
        {&_Volume::get_PersistentAcls, 0x8}, {&_Volume::get_FileCompression, 0x10},
        {&_Volume::get_VolumeQuotas, 0x20}, {&_Volume::get_SupportsSparseFiles, 0x40},
        {&_Volume::get_SupportsReparsePoints, 0x80}, {&_Volume::get_SupportsRemoteStorage, 0x100},
        {&_Volume::get_SupportsObjectIds, 0x10000}, {&_Volume::get_SupportsEncryption, 0x20000},
        {&_Volume::get_VolumeIsCompressed, 0xFFFF8000},  // any bit from &H8000 up
    };
    for (DWORD set : {0x1u, 0x2u, 0x4u, 0x8u, 0x10u, 0x20u, 0x40u, 0x80u, 0x100u, 0x7FFFu, 0x8000u, 0x10000u, 0x20000u,
                      0x80000000u}) {
        fakeFlags = set;
        ComPtr<Volume> volume = Volume::Bind(L"C:\\");
        for (const auto& [getter, bits] : flags) {
            EXPECT_EQ(ValueOf<VARIANT_BOOL>(volume.Get(), getter), set & bits ? VARIANT_TRUE : VARIANT_FALSE)
                << std::hex << set << " " << bits;
        }
    }
}

TEST_F(FakeVolumes, DataAreReadOnceUntilRefreshAndAFailedReadRaisesFromTheDataOnly) {
    ComPtr<Volume> volume = Volume::Bind(L"c:\\windows\\system32");
    EXPECT_EQ(TextOf(volume.Get(), &Volume::get_VolumeName), L"c:\\");
    EXPECT_EQ(fakeReads, 0) << "VolumeName reads nothing";
    EXPECT_EQ(TextOf(volume.Get(), &Volume::get_VolumeLabel), L"DATA DISK");
    EXPECT_EQ(ValueOf<LONG>(volume.Get(), &Volume::get_SerialNumber), static_cast<LONG>(0xDEADBEEF));
    EXPECT_EQ(ValueOf<LONG>(volume.Get(), &Volume::get_MaxComponentLength), 12);
    EXPECT_EQ(fakeReads, 1);
    ASSERT_EQ(volume->Refresh(), S_OK);
    EXPECT_EQ(TextOf(volume.Get(), &Volume::get_FileSystemName), L"FAT32");
    EXPECT_EQ(fakeReads, 2);

    fakeError = ERROR_NOT_READY;
    volume = Volume::Bind(L"C:\\");
    Bstr text;
    EXPECT_EQ(Raised(TakeError(volume->get_FileSystemName(text.Receive()))), Raised(L"Volume", System(ERROR_NOT_READY)));
    EXPECT_EQ(ValueOf<VolumeTypes>(volume.Get(), &Volume::get_VolumeType), RemoteDrive)
        << "a drive without medium still has a type";
}

TEST_F(FakeVolumes, DriveTypeAsksForTheRoot) {
    const std::pair<const wchar_t*, const char*> cases[] = {
        {L"v:\\folder\\file.txt", "v:\\"}, {L"V:", "V:\\"}, {L"\\\\server\\share\\folder", "\\\\server\\share"}};
    for (const auto& [path, root] : cases) {
        EXPECT_EQ(ValueOf<VolumeTypes>(Volume::Bind(path).Get(), &Volume::get_VolumeType), RemoteDrive);
        EXPECT_EQ(driveTypeRoot, root);
    }
}

TEST_F(FakeVolumes, UrlVolumesAnswerTheirProtocolAndLiveWithTheShares) {
    ComPtr<Volumes> volumes = Volumes::Make();
    ComPtr<Volume> bound = volumes->BindToVolume(L"FTP://Host.Example/pub/file.txt");
    EXPECT_EQ(fakeReads, 0) << "a URL has no volume to ask";
    EXPECT_FALSE(ItemOf(*volumes.Get(), StringValue(L"ftp://host.example"))) << "Item looks at the drives only";
    EXPECT_EQ(volumes->Lookup(L"ftp://host.example").Get(), bound.Get()) << "found among the shares";
    volumes->ReadDrives();
    EXPECT_NE(volumes->Lookup(L"ftp://host.example").Get(), bound.Get()) << "Refresh dropped the shares";
}

TEST(DriveList, ThirteenDrivesFitInItsBufferAndAFailedListRaisesOnRefreshOnly) {
    ApiOverride<&PlatformApi::GetLogicalDriveStringsA> fake(&FakeDriveStrings);
    for (int drives : {1, 13, 14}) {
        fakeDriveList = DriveList(drives);
        ComPtr<Volumes> volumes = Volumes::Make();
        EXPECT_EQ(fakeListLength, 53u);
        EXPECT_EQ(volumes->Count(), drives == 14 ? 0 : drives) << "a buffer too small is filled with nothing";
    }
    fakeDriveList = DriveList(2);
    ComPtr<Volumes> volumes = Volumes::Make();
    fakeDriveList.clear();
    EXPECT_EQ(Raised(TakeError(volumes->Refresh())), Raised(L"Volumes", System(ERROR_ACCESS_DENIED)));
    EXPECT_EQ(volumes->Count(), 2) << "a failed refresh keeps what was there";
    EXPECT_EQ(Volumes::Make()->Count(), 0) << "creation succeeds without drives";
}

TEST(Volumes, IndexTypesEnumerationAndTheSharedCollection) {
    ComPtr<Volumes> volumes = Volumes::Make();
    const LONG count = volumes->Count();
    Volume* third = ItemOf(*volumes.Get(), LongValue(3)).Get();
    ASSERT_TRUE(third && ItemOf(*volumes.Get(), StringValue(L"c")));
    EXPECT_EQ(ItemOf(*volumes.Get(), Variant::FromDecimal(DecimalFromUnsigned(3))).Get(), third);
    EXPECT_EQ(ItemOf(*volumes.Get(), DoubleValue(3)).Get(), third);
    EXPECT_FALSE(ItemOf(*volumes.Get(), NullValue()) || ItemOf(*volumes.Get(), Missing()) ||
                 ItemOf(*volumes.Get(), DoubleValue(1e12)));  // the last: a position too large for a Long

    ComPtr<IUnknown> unknown;
    ComPtr<IEnumVARIANT> enumerator;
    ASSERT_EQ(volumes->NewEnum(&unknown), S_OK);
    ASSERT_EQ(unknown.As(&enumerator), S_OK);
    Variant head, end, again;
    ULONG fetched = 0;
    ASSERT_EQ(enumerator->Next(1, head.Get(), &fetched), S_OK);
    EXPECT_EQ(ImplementationOf<Volume>(V_DISPATCH(head.Get())), ItemOf(*volumes.Get(), LongValue(1)).Get());
    EXPECT_EQ(enumerator->Skip(static_cast<ULONG>(count - 1)), S_OK);
    EXPECT_EQ(enumerator->Next(1, end.Get(), &fetched), S_FALSE) << "the end";
    EXPECT_EQ(enumerator->Reset(), S_OK);
    EXPECT_EQ(enumerator->Next(1, again.Get(), &fetched), S_OK) << "from the start again";

    // One shared collection per thread, while it is held.
    ComPtr<FileSystemLib> library = FileSystemLib::Make();
    ComPtr<_Volumes> shared = ValueOf<ComPtr<_Volumes>>(library.Get(), &FileSystemLib::get_Volumes);
    EXPECT_EQ(SharedVolumes().Get(), ImplementationOf<Volumes>(shared.Get()));
    shared.Reset();
    EXPECT_EQ(ThisThread().sharedVolumes, nullptr) << "released with its last reference";
}

}  // namespace
}  // namespace vofs::testing
