#include "facade/file_system_lib.h"

#include "common/browse_dialog.h"
#include "common/file_calls.h"
#include "common/system_error.h"
#include "common/item_exists.h"
#include "common/platform_api.h"
#include "common/secret_text.h"
#include "facade/byte_display.h"
#include "facade/temp_names.h"
#include "ftp/ftp_connection.h"
#include "ftp/proxy_settings.h"
#include "items/folder_enumerator.h"
#include "items/folder_item.h"
#include "paths/path.h"
#include "paths/path_text.h"
#include "streams/folder_copy.h"
#include "system/impersonator.h"
#include "system/token_privileges.h"
#include "system/volumes.h"

namespace vofs {
namespace {

std::wstring PlatformPathOf(BSTR text) { return Path::Parse(Bstr::View(text))->PlatformPath(); }

// Single file operations report the platform's failure under this class's name.
void CheckFileOperation(bool succeeded) { CheckPlatformCall(succeeded, FileSystemLib::kClassName); }

// An optional argument counts as given unless it is missing or Empty.
bool IsGiven(const VARIANT& value) { return !IsMissing(value) && V_VT(&Deref(value)) != VT_EMPTY; }

}  // namespace

FileSystemLib::FileSystemLib() = default;
FileSystemLib::~FileSystemLib() = default;

HRESULT FileSystemLib::get_WideCallSupport(WideCallSupportOptions* value) {
    return Get(value, [] { return ThisThread().wideCallSupport; });
}

HRESULT FileSystemLib::put_WideCallSupport(WideCallSupportOptions value) {
    return Run([&] {
        ThreadState& state = ThisThread();
        const long setting = value;
        const bool allowed =
            setting == kAutoDetect || setting == kAnsiVersion || (setting == kWideVersion && state.platformIsNt);
        if (!allowed) Raise(RunTimeError::InvalidCall);
        state.wideCallSupport = setting;
    });
}

HRESULT FileSystemLib::GetFolderItem(BSTR Path, _FolderItem** value) {
    return Get(value, [&] { return FolderItem::Open(Bstr::View(Path)); });
}

HRESULT FileSystemLib::get_DefaultProxy(_ProxySettings** value) {
    return Get(value, [&] {
        if (!defaultProxy_) defaultProxy_ = DefaultProxy();
        return defaultProxy_;
    });
}

HRESULT FileSystemLib::GetPathObject(BSTR FullPath, _Path** value) {
    return Get(value, [&] { return Path::Parse(Bstr::View(FullPath)); });
}

HRESULT FileSystemLib::GetTempFolderPath(BSTR* value) {
    return Get(value, [] { return TempFolderPath(); });
}

HRESULT FileSystemLib::NormalizePath(BSTR Path, BSTR* value) {
    return Get(value, [&] { return path_text::NormalizePath(Bstr::View(Path)); });
}

HRESULT FileSystemLib::GetUniqueTempName(BSTR Seed, BSTR Extension, BSTR Folder, BSTR* value) {
    return Get(value, [&] { return UniqueTempName(ToWString(Seed), ToWString(Extension), ToWString(Folder)); });
}

HRESULT FileSystemLib::CopyFolder(BSTR SourceFolder, BSTR DestinationFolder, VARIANT_BOOL OverWriteFiles) {
    return Run([&] {
        // Local folders are named absolutely, so that a copy into the source's own tree is
        // recognised however the names were written.
        const auto absolute = [](BSTR text) {
            const std::wstring path = ToWString(text);
            return path.find(L"://") == std::wstring::npos ? fs::FullPathName(path) : path;
        };
        const ComPtr<FolderItem> source = FolderItem::Open(absolute(SourceFolder));
        const ComPtr<FolderItem> destination = FolderItem::Open(absolute(DestinationFolder));
        CopyFolderTree(source.Get(), destination.Get(), OverWriteFiles != VARIANT_FALSE);
    });
}

HRESULT FileSystemLib::FolderExists(BSTR Path, VARIANT_BOOL* value) {
    return Get(value, [&] {
        const ItemExistence found = ItemExists(ToWString(Path), false);
        return found.exists && fs::IsFolderAttributes(found.attributes);
    });
}

HRESULT FileSystemLib::FileExists(BSTR Path, VARIANT* Strict, VARIANT_BOOL* value) {
    return Get(value, [&] {
        const bool strict = Strict && !IsMissing(*Strict) && ToBool(*Strict);
        return ItemExists(ToWString(Path), strict).exists;
    });
}

HRESULT FileSystemLib::NameFromPath(BSTR Path, BSTR* value) {
    return Get(value, [&] { return path_text::NameFromPath(Bstr::View(Path)); });
}

HRESULT FileSystemLib::ParentFromPath(BSTR Path, BSTR* value) {
    return Get(value, [&] { return path_text::ParentFromPath(Bstr::View(Path)); });
}

HRESULT FileSystemLib::RenameFolderItem(BSTR SourcePath, BSTR DestinationPath) {
    return Run([&] {
        CheckFileOperation(fs::MoveItem(PlatformPathOf(SourcePath), PlatformPathOf(DestinationPath)));
    });
}

HRESULT FileSystemLib::CopyFolderItem(BSTR SourcePath, BSTR DestinationPath, VARIANT_BOOL failifexists) {
    return Run([&] {
        CheckFileOperation(fs::CopyItem(PlatformPathOf(SourcePath), PlatformPathOf(DestinationPath),
                                        failifexists != VARIANT_FALSE));
    });
}

HRESULT FileSystemLib::MoveFolderItem(BSTR SourcePath, BSTR DestinationPath, FileMoveOptions MoveOptions) {
    return Run([&] {
        const std::wstring source = PlatformPathOf(SourcePath);
        const std::wstring destination = PlatformPathOf(DestinationPath);
        // Kept as the library has always done it: the options reach MoveFileEx only on
        // platforms outside the NT family; on NT a plain MoveFile runs.
        CheckFileOperation(IsPlatformNT() ? fs::MoveItem(source, destination)
                                          : fs::MoveItemWithOptions(source, destination, MoveOptions));
    });
}

HRESULT FileSystemLib::DeleteFolderItem(BSTR Path) {
    return Run([&] { CheckFileOperation(fs::RemoveFile(PlatformPathOf(Path))); });
}

HRESULT FileSystemLib::GetPlatformPath(BSTR FullPath, BSTR* value) {
    return Get(value, [&] { return PlatformPathOf(FullPath); });
}

HRESULT FileSystemLib::SetErrorMode(VARIANT* NewValue, ErrorModes* value) {
    return Get(value, [&] {
        if (!NewValue) Raise(RunTimeError::InvalidCall);
        // Only bit 0 and bits 15 and up are error-mode bits the library passes on.
        const LONG mode = ToLong(*NewValue) & ~0x7FFEL;
        WriteBack(NewValue, *Variant::FromLong(mode).Get());
        return static_cast<long>(api.SetErrorMode(static_cast<UINT>(mode)));
    });
}

HRESULT FileSystemLib::get_TokenPrivileges(_TokenPrivileges** value) {
    return Get(value, [&] {
        if (!tokenPrivileges_ && IsPlatformNT()) tokenPrivileges_ = TokenPrivileges::Make();
        return tokenPrivileges_;
    });
}

HRESULT FileSystemLib::get_Volumes(_Volumes** value) {
    return Get(value, [] { return SharedVolumes(); });
}

HRESULT FileSystemLib::get_Impersonator(_Impersonator** value) {
    return Get(value, [&] {
        if (!impersonator_ && IsPlatformNT()) impersonator_ = Impersonator::Make();
        return impersonator_;
    });
}

HRESULT FileSystemLib::FtpConnect(BSTR ServerName, VARIANT UserID, VARIANT Password, VARIANT_BOOL Anonymous,
                                  VARIANT_BOOL AsyncIo, InternetOpenMethods OpenMethod, LONG FtpPort,
                                  _ProxySettings* ProxySettings, VARIANT_BOOL Passive, VARIANT_BOOL SendKeepAlives,
                                  _FtpConnection** value) {
    return Get(value, [&] {
        FtpConnection::Settings settings;
        settings.server = Bstr::View(ServerName);
        if (IsGiven(UserID)) settings.userId = ToString(UserID);
        if (IsGiven(Password)) {
            std::wstring password = ToString(Password);
            settings.password.emplace() = password;
            WipeText(password);
        }
        settings.anonymous = Anonymous != VARIANT_FALSE;
        settings.async = AsyncIo != VARIANT_FALSE;
        settings.openMethod = OpenMethod;
        settings.port = FtpPort;
        if (ProxySettings) {
            // Only this library's records carry a password it can hand to WinInet.
            settings.proxy = ImplementationOf<vofs::ProxySettings>(ProxySettings);
            if (!settings.proxy) Raise(RunTimeError::TypeMismatch);
        }
        settings.passive = Passive != VARIANT_FALSE;
        settings.keepAlives = SendKeepAlives != VARIANT_FALSE;
        return FtpConnection::Connected(std::move(settings));
    });
}

HRESULT FileSystemLib::OpenBackupStreamReader(BSTR Path, FileMode Mode, FileAccess Access, FileShare Share,
                                              LONG BufferSize, VARIANT_BOOL IncludeSecurity, _BackupStreamReader** value) {
    return Get(value, [&] {
        ComPtr<_BackupStreamReader> reader;
        CheckCall(FolderItem::Open(Bstr::View(Path))
                      ->OpenBackupStreamReader(Mode, Access, Share, VARIANT_FALSE, BufferSize, IncludeSecurity, &reader));
        return reader;
    });
}

HRESULT FileSystemLib::OpenBackupStreamWriter(BSTR Path, FileMode Mode, FileAccess Access, FileShare Share,
                                              _BackupStreamWriter** value) {
    return Get(value, [&] {
        ComPtr<_BackupStreamWriter> writer;
        CheckCall(FolderItem::Open(Bstr::View(Path))
                      ->OpenBackupStreamWriter(Mode, Access, Share, VARIANT_FALSE, VARIANT_FALSE, &writer));
        return writer;
    });
}

HRESULT FileSystemLib::OpenStream(BSTR Path, FileMode Mode, FileAccess Access, FileShare Share, OpenFileFlags Flags,
                                  _FileStream** value) {
    return Get(value, [&] {
        ComPtr<_FileStream> stream;
        CheckCall(FolderItem::Open(Bstr::View(Path))->OpenStream(Mode, Access, Share, Flags, stream.GetAddressOf()));
        return stream;
    });
}

HRESULT FileSystemLib::OpenTextStream(BSTR Path, TextStreamIoMode IoMode, FileShare Share, _ITextStream** value) {
    return Get(value, [&] {
        ComPtr<_TextStream> text;
        CheckCall(FolderItem::Open(Bstr::View(Path))->OpenTextStream(IoMode, Share, text.GetAddressOf()));
        ComPtr<_ITextStream> stream;
        CheckCall(text.As(&stream));
        return stream;
    });
}

HRESULT FileSystemLib::EnumFolder(BSTR Path, BSTR Filter, _FolderEnumerator** value) {
    return Get(value, [&] {
        // The enumerator comes back whether or not the folder has an entry.
        ComPtr<FolderEnumerator> entries = FolderEnumerator::Make();
        entries->Open(Bstr::View(Path), Bstr::View(Filter));
        return entries;
    });
}

HRESULT FileSystemLib::BrowseToFolder(LONG hwnd, VirtualFolders TopFolder, BSTR Title, BrowseInFolderFlags Flags,
                                      BSTR DefaultFolder, BSTR* value) {
    return Get(value, [&] {
        return vofs::BrowseToFolder(reinterpret_cast<HWND>(static_cast<LONG_PTR>(hwnd)), TopFolder,
                                    ToWString(Title), static_cast<UINT>(Flags), ToWString(DefaultFolder));
    });
}

HRESULT FileSystemLib::FormatByteDisplay(VARIANT Value, ByteDisplayTypes DisplayType, BSTR* value) {
    return Get(value, [&] { return vofs::FormatByteDisplay(Value, DisplayType); });
}

}  // namespace vofs
