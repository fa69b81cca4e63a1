#include "system/volumes.h"

#include "common/lower_case.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "frame/value_enumerator.h"
#include "paths/path.h"

#include <algorithm>
#include <string>

namespace vofs {
namespace {

// 13 drive entries of 4 characters ("c:\" and a NUL) and one more character. With more
// drives the platform answers with the size it needs and fills nothing, so the list is
// then taken as the empty buffer stands.
constexpr DWORD kDriveListLength = 53;

ComPtr<Volume> Find(const std::vector<std::pair<std::wstring, ComPtr<Volume>>>& entries, const std::wstring& key) {
    for (const auto& [entryKey, volume] : entries) {
        if (entryKey == key) return volume;
    }
    return nullptr;
}

// Puts the volume under the key, in place of an entry that had it (the new one goes last).
void Put(std::vector<std::pair<std::wstring, ComPtr<Volume>>>& entries, std::wstring key, ComPtr<Volume> volume) {
    std::erase_if(entries, [&](const auto& entry) { return entry.first == key; });
    entries.emplace_back(std::move(key), std::move(volume));
}

bool IsNumber(VARTYPE type) {
    switch (type) {
        case VT_I1: case VT_I2: case VT_I4: case VT_I8: case VT_INT:
        case VT_UI1: case VT_UI2: case VT_UI4: case VT_UI8: case VT_UINT:
        case VT_R4: case VT_R8: case VT_CY: case VT_DECIMAL:
            return true;
        default:
            return false;
    }
}

// The key of a drive entry: a drive path's first character, lower-cased.
std::wstring DriveKey(const std::wstring& text) { return LowerCase(text.substr(0, 1)); }

}  // namespace

Volumes::Volumes() {
    // A collection that cannot list the drives is still usable: BindToVolume works.
    try {
        ReadDrives();
    } catch (const AutomationError&) {
    }
}

Volumes::~Volumes() {
    if (sharedBy_ && sharedBy_->sharedVolumes == this) sharedBy_->sharedVolumes = nullptr;
}

void Volumes::ReadDrives() {
    std::string buffer(kDriveListLength, '\0');
    const DWORD length = api.GetLogicalDriveStringsA(kDriveListLength, buffer.data());
    if (length == 0) RaiseSystemError(static_cast<long>(GetLastError()), kClassName);
    buffer.resize(std::min(length, kDriveListLength));

    drives_.clear();
    shares_.clear();
    size_t start = 0;
    while (start < buffer.size()) {
        const size_t end = std::min(buffer.find('\0', start), buffer.size());
        if (end > start) {
            const std::wstring text(buffer.begin() + static_cast<std::ptrdiff_t>(start),
                                    buffer.begin() + static_cast<std::ptrdiff_t>(end));
            ComPtr<Volume> volume = Volume::Bind(text);
            std::wstring key = DriveKey(volume->VolumeName());
            Put(drives_, std::move(key), std::move(volume));
        }
        start = end + 1;
    }
}

ComPtr<Volume> Volumes::Item(const VARIANT& index) const {
    try {
        const Variant actual = Variant::CopyOf(index);
        if (IsNumber(actual.Type())) {
            const LONG position = ToLong(*actual.Get());
            if (position < 1 || position > Count()) return nullptr;
            return drives_[static_cast<size_t>(position - 1)].second;
        }
        const std::wstring text = ToString(*actual.Get());
        std::wstring key = LowerCase(text);
        try {
            const ComPtr<Path> path = Path::Parse(text);
            if (path->IsLogical()) key = DriveKey(path->FullPath());
        } catch (const AutomationError&) {
            // Not a path (a bare letter, for one): the text itself is the key.
        }
        return Find(drives_, key);
    } catch (...) {
        return nullptr;
    }
}

ComPtr<Volume> Volumes::BindToVolume(std::wstring_view path) {
    ComPtr<Volume> volume = Volume::Bind(path);
    volume->ReadData();
    try {
        if (volume->IsDrive()) {
            Put(drives_, DriveKey(volume->VolumeName()), volume);
        } else {
            Put(shares_, LowerCase(volume->VolumeName()), volume);
        }
    } catch (...) {
        // The volume is the answer; keeping it in the collection is a convenience.
    }
    return volume;
}

ComPtr<Volume> Volumes::Lookup(const std::wstring& text) {
    const Variant index = Variant::FromString(text);
    if (ComPtr<Volume> volume = Item(*index.Get())) return volume;
    if (ComPtr<Volume> volume = Find(shares_, LowerCase(text))) return volume;
    return BindToVolume(text);
}

// ---- _Volumes

HRESULT Volumes::get_Count(LONG* value) {
    return Get(value, [&] { return Count(); });
}

HRESULT Volumes::get_Item(VARIANT Index, _Volume** value) {
    return Get(value, [&] { return Item(Index); });
}

HRESULT Volumes::NewEnum(IUnknown** value) {
    return Get(value, [&] {
        // For Each walks a snapshot of the drives.
        std::vector<Variant> drives;
        drives.reserve(drives_.size());
        for (const auto& entry : drives_) drives.push_back(Variant::FromObject(entry.second->AsDispatch()));
        return ValueEnumerator::Make(std::move(drives));
    });
}

HRESULT Volumes::Refresh() {
    return Run([&] { ReadDrives(); });
}

HRESULT Volumes::BindToVolume(BSTR Path, _Volume** value) {
    return Get(value, [&] { return BindToVolume(Bstr::View(Path)); });
}

ComPtr<Volumes> SharedVolumes() {
    ThreadState& state = ThisThread();
    if (state.sharedVolumes) return ComPtr<Volumes>(state.sharedVolumes);
    ComPtr<Volumes> volumes = Volumes::Make();
    volumes->sharedBy_ = &state;
    state.sharedVolumes = volumes.Get();
    return volumes;
}

}  // namespace vofs
