#pragma once
// FileSystemLib: the library's creatable entry object. It holds no path state of its own:
// it converts arguments, applies defaults and hands the work to the library's classes
// and routines. It also owns the per-thread wide-call setting.

#include "frame/com_object.h"
#include "frame/contract.h"

namespace vofs {

class Impersonator;
class ProxySettings;
class TokenPrivileges;

class FileSystemLib final : public ComObject<FileSystemLib, _FileSystemLib> {
public:
    static constexpr wchar_t kClassName[] = L"FileSystemLib";

    HRESULT STDMETHODCALLTYPE get_WideCallSupport(WideCallSupportOptions* value) override;
    HRESULT STDMETHODCALLTYPE put_WideCallSupport(WideCallSupportOptions value) override;
    HRESULT STDMETHODCALLTYPE GetFolderItem(BSTR Path, _FolderItem** value) override;
    HRESULT STDMETHODCALLTYPE get_DefaultProxy(_ProxySettings** value) override;
    HRESULT STDMETHODCALLTYPE GetPathObject(BSTR FullPath, _Path** value) override;
    HRESULT STDMETHODCALLTYPE GetTempFolderPath(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE NormalizePath(BSTR Path, BSTR* value) override;
    HRESULT STDMETHODCALLTYPE GetUniqueTempName(BSTR Seed, BSTR Extension, BSTR Folder, BSTR* value) override;
    HRESULT STDMETHODCALLTYPE CopyFolder(BSTR SourceFolder, BSTR DestinationFolder,
                                         VARIANT_BOOL OverWriteFiles) override;
    HRESULT STDMETHODCALLTYPE FolderExists(BSTR Path, VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE FileExists(BSTR Path, VARIANT* Strict, VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE NameFromPath(BSTR Path, BSTR* value) override;
    HRESULT STDMETHODCALLTYPE ParentFromPath(BSTR Path, BSTR* value) override;
    HRESULT STDMETHODCALLTYPE RenameFolderItem(BSTR SourcePath, BSTR DestinationPath) override;
    HRESULT STDMETHODCALLTYPE CopyFolderItem(BSTR SourcePath, BSTR DestinationPath,
                                             VARIANT_BOOL failifexists) override;
    HRESULT STDMETHODCALLTYPE MoveFolderItem(BSTR SourcePath, BSTR DestinationPath,
                                             FileMoveOptions MoveOptions) override;
    HRESULT STDMETHODCALLTYPE DeleteFolderItem(BSTR Path) override;
    HRESULT STDMETHODCALLTYPE GetPlatformPath(BSTR FullPath, BSTR* value) override;
    HRESULT STDMETHODCALLTYPE SetErrorMode(VARIANT* NewValue, ErrorModes* value) override;
    HRESULT STDMETHODCALLTYPE get_TokenPrivileges(_TokenPrivileges** value) override;
    HRESULT STDMETHODCALLTYPE get_Volumes(_Volumes** value) override;
    HRESULT STDMETHODCALLTYPE get_Impersonator(_Impersonator** value) override;
    HRESULT STDMETHODCALLTYPE FtpConnect(BSTR ServerName, VARIANT UserID, VARIANT Password, VARIANT_BOOL Anonymous,
                                         VARIANT_BOOL AsyncIo, InternetOpenMethods OpenMethod, LONG FtpPort,
                                         _ProxySettings* ProxySettings, VARIANT_BOOL Passive,
                                         VARIANT_BOOL SendKeepAlives, _FtpConnection** value) override;
    HRESULT STDMETHODCALLTYPE OpenBackupStreamReader(BSTR Path, FileMode Mode, FileAccess Access, FileShare Share,
                                                     LONG BufferSize, VARIANT_BOOL IncludeSecurity,
                                                     _BackupStreamReader** value) override;
    HRESULT STDMETHODCALLTYPE OpenBackupStreamWriter(BSTR Path, FileMode Mode, FileAccess Access, FileShare Share,
                                                     _BackupStreamWriter** value) override;
    HRESULT STDMETHODCALLTYPE OpenStream(BSTR Path, FileMode Mode, FileAccess Access, FileShare Share,
                                         OpenFileFlags Flags, _FileStream** value) override;
    HRESULT STDMETHODCALLTYPE OpenTextStream(BSTR Path, TextStreamIoMode IoMode, FileShare Share,
                                             _ITextStream** value) override;
    HRESULT STDMETHODCALLTYPE EnumFolder(BSTR Path, BSTR Filter, _FolderEnumerator** value) override;
    HRESULT STDMETHODCALLTYPE BrowseToFolder(LONG hwnd, VirtualFolders TopFolder, BSTR Title,
                                             BrowseInFolderFlags Flags, BSTR DefaultFolder, BSTR* value) override;
    HRESULT STDMETHODCALLTYPE FormatByteDisplay(VARIANT Value, ByteDisplayTypes DisplayType, BSTR* value) override;

private:
    friend class ComObject<FileSystemLib, _FileSystemLib>;
    FileSystemLib();
    ~FileSystemLib() override;

    // Made on first use (on the NT family only) and kept for this object's life.
    ComPtr<TokenPrivileges> tokenPrivileges_;
    ComPtr<Impersonator> impersonator_;
    // This thread's default proxy, held so that its settings last as long as this object.
    ComPtr<ProxySettings> defaultProxy_;
};

}  // namespace vofs
