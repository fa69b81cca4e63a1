#include "system/volume.h"

#include "common/ansi.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "paths/path.h"
#include "paths/path_text.h"

#include <string>

namespace vofs {
namespace {

// The size of the label and file-system name buffers handed to GetVolumeInformation.
constexpr DWORD kNameBufferLength = 255;

constexpr DWORD kCaseSensitiveSearchBit = 0x1;  // no property reports this one
constexpr DWORD kCasePreservedNamesBit = 0x2;
constexpr DWORD kUnicodeOnDiskBit = 0x4;
constexpr DWORD kPersistentAclsBit = 0x8;
constexpr DWORD kFileCompressionBit = 0x10;
constexpr DWORD kVolumeQuotasBit = 0x20;
constexpr DWORD kSparseFilesBit = 0x40;
constexpr DWORD kReparsePointsBit = 0x80;
constexpr DWORD kRemoteStorageBit = 0x100;
// Every bit from &H8000 up: a volume with object identifiers or encryption counts as
// compressed too, as it always has.
constexpr DWORD kVolumeIsCompressedMask = 0xFFFF8000;
constexpr DWORD kObjectIdsBit = 0x10000;
constexpr DWORD kEncryptionBit = 0x20000;
static_assert((kCaseSensitiveSearchBit & kVolumeIsCompressedMask) == 0);

struct VolumeInformation {
    std::wstring label;
    DWORD serialNumber = 0;
    DWORD maxComponentLength = 0;
    DWORD flags = 0;
    std::wstring fileSystemName;
};

VolumeInformation ReadVolumeInformation(const std::wstring& root) {
    VolumeInformation information;
    BOOL read = FALSE;
    if (UseWideCalls()) {
        std::wstring label(kNameBufferLength, L'\0'), fileSystem(kNameBufferLength, L'\0');
        read = api.GetVolumeInformationW(root.c_str(), label.data(), kNameBufferLength, &information.serialNumber,
                                         &information.maxComponentLength, &information.flags, fileSystem.data(),
                                         kNameBufferLength);
        information.label = TextBeforeNul(label);
        information.fileSystemName = TextBeforeNul(fileSystem);
    } else {
        std::string label(kNameBufferLength, '\0'), fileSystem(kNameBufferLength, '\0');
        read = api.GetVolumeInformationA(ToAnsi(root).c_str(), label.data(), kNameBufferLength,
                                         &information.serialNumber, &information.maxComponentLength,
                                         &information.flags, fileSystem.data(), kNameBufferLength);
        information.label = FromAnsi(TextBeforeNul(label));
        information.fileSystemName = FromAnsi(TextBeforeNul(fileSystem));
    }
    if (!read) RaiseSystemError(static_cast<long>(GetLastError()), Volume::kClassName);
    return information;
}

// The drive type always comes from the 8-bit call, whatever the wide-call setting.
long DriveTypeOf(const std::wstring& root) { return static_cast<long>(api.GetDriveTypeA(ToAnsi(root).c_str())); }

}  // namespace

Volume::Volume() = default;
Volume::~Volume() = default;

ComPtr<Volume> Volume::Bind(std::wstring_view text) {
    ComPtr<Path> path = Path::Parse(text);
    ComPtr<Volume> volume = Make();
    const std::wstring root(path->RootPath());
    volume->name_ = path->IsLogical() ? path_text::NormalizePath(root) : root;
    volume->path_ = std::move(path);
    return volume;
}

bool Volume::IsBound() const { return path_ != nullptr; }

bool Volume::IsDrive() const { return path_ && path_->IsLogical(); }

const Path& Volume::BoundPath() const {
    if (!path_) Raise(RunTimeError::InvalidCall, kClassName);
    return *path_.Get();
}

void Volume::ReadData() {
    const Path& path = BoundPath();
    if (path.IsUrl()) {
        // A URL has no volume to ask; its protocol stands for the file system, and the
        // data stay unread so that it is asked again next time.
        fileSystemName_ = path.Protocol();
        return;
    }
    VolumeInformation information = ReadVolumeInformation(path_text::NormalizePath(path.RootPath()));
    loaded_ = true;
    label_ = std::move(information.label);
    serialNumber_ = information.serialNumber;
    maxComponentLength_ = information.maxComponentLength;
    flags_ = information.flags;
    fileSystemName_ = std::move(information.fileSystemName);
}

void Volume::EnsureLoaded() {
    if (!loaded_) ReadData();
}

std::wstring Volume::Label() {
    EnsureLoaded();
    return label_;
}

DWORD Volume::SerialNumber() {
    EnsureLoaded();
    return serialNumber_;
}

DWORD Volume::MaxComponentLength() {
    EnsureLoaded();
    return maxComponentLength_;
}

std::wstring Volume::FileSystemName() {
    EnsureLoaded();
    return fileSystemName_;
}

DWORD Volume::Flags() {
    EnsureLoaded();
    return flags_;
}

long Volume::VolumeType() {
    const Path& path = BoundPath();
    // The drive type is how a caller learns that a drive has no root folder or no medium,
    // and exactly then the volume data cannot be read: a failed read must not hide the
    // answer, so it is not reported here (the data members still report it).
    if (!loaded_) {
        try {
            ReadData();
        } catch (const AutomationError&) {
        }
    }
    if (path.IsLogical()) return DriveTypeOf(path_text::NormalizePath(path.RootPath()));
    if (path.IsNetShare()) return DriveTypeOf(std::wstring(path.RootPath()));
    Raise(RunTimeError::InvalidCall, kClassName);
}

// ---- _Volume

HRESULT Volume::get_VolumeName(BSTR* value) {
    return Get(value, [&] { return name_; });
}

HRESULT Volume::get_VolumeLabel(BSTR* value) {
    return Get(value, [&] { return Label(); });
}

HRESULT Volume::get_SerialNumber(LONG* value) {
    return Get(value, [&] { return static_cast<LONG>(SerialNumber()); });
}

HRESULT Volume::get_MaxComponentLength(LONG* value) {
    return Get(value, [&] { return static_cast<LONG>(MaxComponentLength()); });
}

HRESULT Volume::get_FileSystemName(BSTR* value) {
    return Get(value, [&] { return FileSystemName(); });
}

HRESULT Volume::Flag(VARIANT_BOOL* value, DWORD mask) {
    return Get(value, [&] { return HasFlag(mask); });
}

HRESULT Volume::get_CasePreservedNames(VARIANT_BOOL* value) { return Flag(value, kCasePreservedNamesBit); }
HRESULT Volume::get_UnicodeOnDisk(VARIANT_BOOL* value) { return Flag(value, kUnicodeOnDiskBit); }
HRESULT Volume::get_PersistentAcls(VARIANT_BOOL* value) { return Flag(value, kPersistentAclsBit); }
HRESULT Volume::get_FileCompression(VARIANT_BOOL* value) { return Flag(value, kFileCompressionBit); }
HRESULT Volume::get_VolumeQuotas(VARIANT_BOOL* value) { return Flag(value, kVolumeQuotasBit); }
HRESULT Volume::get_SupportsSparseFiles(VARIANT_BOOL* value) { return Flag(value, kSparseFilesBit); }
HRESULT Volume::get_SupportsReparsePoints(VARIANT_BOOL* value) { return Flag(value, kReparsePointsBit); }
HRESULT Volume::get_SupportsRemoteStorage(VARIANT_BOOL* value) { return Flag(value, kRemoteStorageBit); }
HRESULT Volume::get_VolumeIsCompressed(VARIANT_BOOL* value) { return Flag(value, kVolumeIsCompressedMask); }
HRESULT Volume::get_SupportsObjectIds(VARIANT_BOOL* value) { return Flag(value, kObjectIdsBit); }
HRESULT Volume::get_SupportsEncryption(VARIANT_BOOL* value) { return Flag(value, kEncryptionBit); }

HRESULT Volume::Refresh() {
    return Run([&] { ReadData(); });
}

HRESULT Volume::get_VolumeType(VolumeTypes* value) {
    return Get(value, [&] { return VolumeType(); });
}

HRESULT Volume::get_IsMounted(VARIANT_BOOL* value) {
    return Get(value, [&] { return VolumeType() != DRIVE_NO_ROOT_DIR; });
}

}  // namespace vofs
