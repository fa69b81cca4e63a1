#pragma once
// What the backup reader and writer share: the open file and optional byte stream they
// work on, the choice between the platform's backup interface and the emulated mode
// (content through the byte stream), the transfers through that stream, and the volume
// test behind SupportsMultiStreams.

#include "frame/com_object.h"
#include "frame/contract.h"

#include <cstdint>

namespace vofs {

class BackupTarget {
public:
    // Refuses an open file without a handle (error -1) and a local one opened with
    // NoBuffering (error 5). The mode is emulated off the NT family and over a byte
    // stream that is not a local FileStream.
    BackupTarget(ComPtr<_IOpenFile> file, ComPtr<_IFileStream> stream);

    bool Emulated() const { return emulated_; }
    // Turns to the emulated mode (the platform has no backup interface): a local open
    // file without a byte stream gets one; without either, the platform's refusal
    // `error` is raised with `source`.
    void Emulate(DWORD error, const wchar_t* source);

    HANDLE Handle() const;
    // The handle, or none once the open file is closed (a backup context is released
    // through it all the same).
    HANDLE HandleOrNone() const noexcept;
    _IOpenFile* File() const { return file_.Get(); }
    _IFileStream* Stream() const { return stream_.Get(); }
    bool IsAsync() const;

    // Moves `count` bytes between `buffer` and the byte stream at its position (error 91
    // without one); the bytes moved (0 for a transfer started asynchronously).
    LONG Transfer(bool reading, uint8_t* buffer, LONG count) const;

    // True when the open file's volume is NTFS or keeps persistent ACLs.
    bool SupportsMultiStreams() const;

private:
    ComPtr<_IOpenFile> file_;
    ComPtr<_IFileStream> stream_;
    bool emulated_;
};

}  // namespace vofs
