#pragma once
// Volumes: the machine's logical drives, keyed by their lower-cased letter, plus the
// volumes of network shares (and URLs) that callers have bound, keyed by their
// lower-cased VolumeName. Each thread keeps one shared collection, handed out by
// FileSystemLib.Volumes and used by items to find the volume of a root; it lives as long
// as someone holds it and is made again on the next request after that.

#include "frame/com_object.h"
#include "frame/contract.h"
#include "system/volume.h"

#include <string>
#include <utility>
#include <vector>

namespace vofs {

struct ThreadState;

class Volumes final : public ComObject<Volumes, _Volumes> {
public:
    static constexpr wchar_t kClassName[] = L"Volumes";

    // The number of drives.
    long Count() const { return static_cast<long>(drives_.size()); }
    // A drive by 1-based position (a numeric index) or by text: a drive path is looked up
    // by its lower-cased first character, any other text as it stands, lower-cased.
    // Never raises: what is not found (or not usable as an index) gives null.
    ComPtr<Volume> Item(const VARIANT& index) const;
    // Reads the drive list again (GetLogicalDriveStringsA into 53 characters, which holds
    // 13 drives); bound shares are dropped. Failure raises the system error, source
    // "Volumes". (Refresh.)
    void ReadDrives();
    // A new volume for the path, its data read at once (their errors are raised); it then
    // takes the place of the drive's (or the share's) entry.
    ComPtr<Volume> BindToVolume(std::wstring_view path);
    // The volume for a text: Item, then the shares by the lower-cased text, then
    // BindToVolume (whose errors pass through).
    ComPtr<Volume> Lookup(const std::wstring& text);

    // ---- _Volumes
    HRESULT STDMETHODCALLTYPE get_Count(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_Item(VARIANT Index, _Volume** value) override;
    HRESULT STDMETHODCALLTYPE NewEnum(IUnknown** value) override;
    HRESULT STDMETHODCALLTYPE Refresh() override;
    HRESULT STDMETHODCALLTYPE BindToVolume(BSTR Path, _Volume** value) override;

private:
    friend class ComObject<Volumes, _Volumes>;
    friend ComPtr<Volumes> SharedVolumes();
    Volumes();
    ~Volumes() override;

    using Entries = std::vector<std::pair<std::wstring, ComPtr<Volume>>>;

    Entries drives_;
    Entries shares_;
    // The thread whose shared collection this is, if it is one.
    ThreadState* sharedBy_ = nullptr;
};

// This thread's shared collection, made (and its drives read) when there is none.
ComPtr<Volumes> SharedVolumes();

}  // namespace vofs
