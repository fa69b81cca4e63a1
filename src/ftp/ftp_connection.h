#pragma once
// FtpConnection: one FTP session (a WinInet session and a connection to one server), the
// parameters to make it again, an optional keep-alive timer that sends NOOP while the
// creating thread pumps messages, and reconnection when the server closes the connection
// (unless the caller disconnected). The stored password is wiped from memory on
// Disconnect and when the object goes.

#include "common/secret_text.h"
#include "frame/com_object.h"
#include "frame/contract.h"
#include "ftp/internet_session.h"
#include "ftp/proxy_settings.h"

#include <string>

namespace vofs {

class FtpFolderItem;
class Path;

class FtpConnection final : public ComObject<FtpConnection, _FtpConnection, _IInternetStatus>,
                            private internet::StatusReceiver {
public:
    static constexpr wchar_t kClassName[] = L"FtpConnection";

    // What a connection is made with (FileSystemLib.FtpConnect's arguments).
    struct Settings {
        std::wstring server;
        std::optional<std::wstring> userId;  // none: not given
        std::optional<SecretText> password;  // none: not given
        bool anonymous = false;
        bool async = false;
        long openMethod = 0;
        long port = 0;
        ComPtr<ProxySettings> proxy;  // none: the thread's default record
        bool passive = false;
        bool keepAlives = false;
    };

    // A new connection, connected (failures raise with source "FtpConnection").
    static ComPtr<FtpConnection> Connected(const Settings& settings);

    HINTERNET ConnectionHandle() const { return connection_; }
    bool IsConnected() const { return connection_ != nullptr; }
    // A path text resolved against the server root ("ftp://server/..." of another server:
    // error 5).
    ComPtr<Path> PathObject(std::wstring_view fullPath) const;
    // The server's name for a folder: the path after the host ("/" for the root).
    static std::wstring ServerFolder(const Path& folder);
    // Makes a folder current; failures raise the system error under `source`.
    void MakeCurrent(const Path& folder, std::wstring_view source = kClassName);
    // Creates every missing level of `folder` from the root down.
    void CreateFolderChain(const Path& folder);
    // An item of this server, refreshed.
    ComPtr<FtpFolderItem> FolderItem(std::wstring_view path);
    // A new connection with this one's settings, synchronous whatever this one is.
    ComPtr<FtpConnection> SynchronousClone() const;

    // Runs work that talks to the server; when it fails because the server closed the
    // control connection, the connection is handled as closed (and made again when
    // allowed) before the failure reaches the caller.
    template <class Body>
    void OnServer(Body&& body) {
        try {
            body();
        } catch (const AutomationError& error) {
            HandleServerFailure(error);
            throw;
        }
    }

    // ---- _FtpConnection
    HRESULT STDMETHODCALLTYPE Clone(_FtpConnection** value) override;
    HRESULT STDMETHODCALLTYPE get_Handle(LONG* value) override;
    HRESULT STDMETHODCALLTYPE get_IsConnected(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_IsAsync(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE GetWorkingFolder(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE SetWorkingFolder(BSTR Path) override;
    HRESULT STDMETHODCALLTYPE RenameFolderItem(BSTR SourcePath, BSTR DestinationPath) override;
    HRESULT STDMETHODCALLTYPE DeleteFolderItem(BSTR Path) override;
    HRESULT STDMETHODCALLTYPE GetPathObject(BSTR FullPath, _Path** value) override;
    HRESULT STDMETHODCALLTYPE GetFolderItem(BSTR Path, _FtpFolderItem** value) override;
    HRESULT STDMETHODCALLTYPE EnumFolder(BSTR Path, BSTR Filter, _FtpFolderEnumerator** value) override;
    HRESULT STDMETHODCALLTYPE CreateFolder(BSTR FolderPath) override;
    HRESULT STDMETHODCALLTYPE get_AutoReconnect(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE put_AutoReconnect(VARIANT_BOOL value) override;
    HRESULT STDMETHODCALLTYPE Disconnect() override;

    // ---- _IInternetStatus
    HRESULT STDMETHODCALLTYPE Callback(InternetStatus dwInternetStatus, LONG lpvStatusInformation,
                                       LONG dwStatusInformationLength) override;

private:
    friend class ComObject<FtpConnection, _FtpConnection, _IInternetStatus>;
    friend void CALLBACK KeepAliveTick(HWND, UINT, UINT_PTR, DWORD);
    FtpConnection() = default;
    ~FtpConnection() override;

    void Connect(const Settings& settings);
    void Close();
    // The settings a clone or a reconnection uses: asynchronous and passive as the session
    // flags say (passive never is: it lives in the connect flags).
    Settings StoredSettings() const;
    void StartKeepAlives();
    void StopKeepAlives();
    void SendKeepAlive();
    void OnStatus(long status);
    void OnInternetStatus(DWORD status, void* information, DWORD length) noexcept override;
    // Runs a member that talks to the server; when it fails because the server closed the
    // control connection, the connection is handled as closed (and made again when
    // allowed) before the failure reaches the caller.
    // A failure of work on the server: a lost connection is handled as closed; WinInet's
    // "transfer in progress" for a reply that never came is raised as the reset it was.
    void HandleServerFailure(const AutomationError& error);
    [[noreturn]] void RaiseLastError(std::wstring_view text = {}) const;

    std::wstring server_;
    std::wstring userId_;
    SecretText password_;
    bool anonymous_ = false;
    long openMethod_ = 0;
    long port_ = 0;
    ComPtr<ProxySettings> proxy_;
    ComPtr<Path> root_;
    HINTERNET session_ = nullptr;
    HINTERNET connection_ = nullptr;
    DWORD connectFlags_ = 0;
    DWORD sessionFlags_ = 0;
    UINT keepAliveInterval_ = 90000;
    DWORD lastKeepAlive_ = 0;  // tick count of the connect or of the previous keep-alive tick
    UINT_PTR timer_ = 0;
    FtpConnection* nextWithTimer_ = nullptr;  // this thread's keep-alive list
    bool autoReconnect_ = true;
    bool userDisconnected_ = false;
    bool connecting_ = false;  // a failed connect also reports the connection closed
    const DWORD ownerThread_ = GetCurrentThreadId();
};

}  // namespace vofs
