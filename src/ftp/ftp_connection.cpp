#include "ftp/ftp_connection.h"

#include "common/ansi.h"
#include "common/host_process.h"
#include "common/long_handles.h"
#include "common/lower_case.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "common/thread_state.h"
#include "ftp/ftp_folder_enumerator.h"
#include "ftp/ftp_folder_item.h"
#include "ftp/proxy_settings.h"
#include "items/find_data.h"
#include "paths/path.h"

#include <utility>

namespace vofs {
namespace {

constexpr DWORD kPassiveFlag = INTERNET_FLAG_PASSIVE;
constexpr DWORD kAsyncFlag = INTERNET_FLAG_ASYNC;
constexpr long kDefaultPort = INTERNET_DEFAULT_FTP_PORT;
constexpr long kOpenProxy = INTERNET_OPEN_TYPE_PROXY;
constexpr long kKeepAliveStatus = -1;
constexpr DWORD kTimerLateness = 1000;  // a tick later than this after its time is stale
constexpr std::wstring_view kScheme = L"ftp://";

// The server name with every "ftp://" taken out, whatever its case.
std::wstring WithoutScheme(const std::wstring& text) {
    const std::wstring lowered = LowerCase(text);
    std::wstring rest;
    for (size_t at = 0; at < text.size();) {
        if (lowered.compare(at, kScheme.size(), kScheme) == 0) {
            at += kScheme.size();
        } else {
            rest += text[at++];
        }
    }
    return rest;
}

// The path behind a pointer that may be null (the host of a URL has no parent).
const Path& Existing(const ComPtr<Path>& path) {
    if (!path) Raise(RunTimeError::InvalidCall, FtpConnection::kClassName);
    return *path.Get();
}

}  // namespace

// The keep-alive timer's routine: finds the connection that owns the timer among this
// thread's and hands it the library's own keep-alive status.
void CALLBACK KeepAliveTick(HWND, UINT, UINT_PTR timer, DWORD) {
    for (FtpConnection* connection = ThisThread().keepAliveConnections; connection;
         connection = connection->nextWithTimer_) {
        if (connection->timer_ == timer) {
            connection->Callback(static_cast<InternetStatus>(kKeepAliveStatus), 0, 0);
            return;
        }
    }
}

ComPtr<FtpConnection> FtpConnection::Connected(const Settings& settings) {
    ComPtr<FtpConnection> connection = Make();
    connection->Connect(settings);
    return connection;
}

FtpConnection::~FtpConnection() {
    StopReceiving();  // no notification may reach the object while it goes
    Close();
}

void FtpConnection::RaiseLastError(std::wstring_view text) const {
    RaiseSystemError(static_cast<long>(GetLastError()), kClassName, text);
}

void FtpConnection::Connect(const Settings& settings) {
    Close();
    userDisconnected_ = false;
    if (settings.openMethod != INTERNET_OPEN_TYPE_PRECONFIG && settings.openMethod != INTERNET_OPEN_TYPE_DIRECT &&
        settings.openMethod != kOpenProxy) {
        Raise(RunTimeError::InvalidCall, kClassName);
    }
    proxy_ = settings.proxy ? settings.proxy : DefaultProxy();
    connectFlags_ = settings.passive ? kPassiveFlag : 0;
    sessionFlags_ = settings.async ? kAsyncFlag : 0;
    port_ = settings.port == 0 ? kDefaultPort : settings.port;
    openMethod_ = settings.openMethod;
    server_ = WithoutScheme(settings.server);
    root_ = Path::Parse(std::wstring(kScheme) + server_);

    session_ = internet::OpenSession(HostApplicationName(), static_cast<DWORD>(openMethod_),
                                     openMethod_ == kOpenProxy ? proxy_->Address() : std::wstring(), sessionFlags_);
    if (!internet::IsValid(session_)) RaiseLastError(L"Could not initialize the WinInet.dll.");
    api.InternetSetStatusCallback(session_, &internet::DispatchStatus);

    anonymous_ = settings.anonymous;
    if (anonymous_) {
        userId_ = L"anonymous";
        password_.Wipe();
    } else {
        if (settings.userId) userId_ = *settings.userId;
        if (settings.password) password_ = settings.password->Text();
    }
    if (!proxy_->UserId().empty()) {
        std::string user = ToAnsi(proxy_->UserId()), secret = ToAnsi(proxy_->Password());
        const bool set = api.InternetSetOptionA(session_, INTERNET_OPTION_PROXY_USERNAME, user.data(),
                                                static_cast<DWORD>(user.size())) &&
                         api.InternetSetOptionA(session_, INTERNET_OPTION_PROXY_PASSWORD, secret.data(),
                                                static_cast<DWORD>(secret.size()));
        const DWORD error = GetLastError();
        WipeText(secret);
        if (!set) RaiseSystemError(static_cast<long>(error), kClassName);
    }

    connecting_ = true;
    connection_ = internet::Connect(session_, server_, static_cast<INTERNET_PORT>(port_), userId_, password_.Text(),
                                    connectFlags_, Context());
    connecting_ = false;
    if (!internet::IsValid(connection_)) {
        const DWORD error = GetLastError();
        const std::wstring message = L"Could not connect to FTP server " + server_ + L".";
        Close();
        RaiseSystemError(static_cast<long>(error), kClassName, message);
    }
    if (settings.keepAlives) StartKeepAlives();
}

void FtpConnection::Close() {
    userDisconnected_ = true;
    internet::Close(std::exchange(connection_, nullptr));
    internet::Close(std::exchange(session_, nullptr));
    proxy_.Reset();
    server_.clear();
    userId_.clear();
    password_.Wipe();
    anonymous_ = false;
    connectFlags_ = sessionFlags_ = 0;
    StopKeepAlives();
}

FtpConnection::Settings FtpConnection::StoredSettings() const {
    Settings settings;
    settings.server = server_;
    settings.userId = userId_;
    settings.password.emplace() = password_.Text();
    settings.anonymous = anonymous_;
    settings.async = (sessionFlags_ & kAsyncFlag) != 0;
    settings.openMethod = openMethod_;
    settings.port = port_;
    settings.proxy = proxy_;
    settings.passive = (sessionFlags_ & kPassiveFlag) != 0;  // never set there: clones transfer actively
    settings.keepAlives = timer_ != 0;
    return settings;
}

// ---- keep-alives

void FtpConnection::StartKeepAlives() {
    timer_ = api.SetTimer(nullptr, 0, keepAliveInterval_, &KeepAliveTick);
    if (!timer_) RaiseLastError();
    ThreadState& thread = ThisThread();
    nextWithTimer_ = std::exchange(thread.keepAliveConnections, this);
    lastKeepAlive_ = GetTickCount();
}

void FtpConnection::StopKeepAlives() {
    if (!timer_) return;
    api.KillTimer(nullptr, std::exchange(timer_, 0));
    for (FtpConnection** link = &ThisThread().keepAliveConnections; *link; link = &(*link)->nextWithTimer_) {
        if (*link == this) {
            *link = nextWithTimer_;
            break;
        }
    }
    nextWithTimer_ = nullptr;
}

// A tick sends NOOP unless it comes late (the thread did not pump messages for longer than
// an interval); the next tick on time sends again.
void FtpConnection::SendKeepAlive() {
    const DWORD now = GetTickCount();
    const bool onTime = now - lastKeepAlive_ <= keepAliveInterval_ + kTimerLateness;
    lastKeepAlive_ = now;
    if (!onTime || !internet::IsValid(connection_) || !internet::VersionAtLeast12(connection_)) return;
    if (api.FtpCommandA(connection_, FALSE, FTP_TRANSFER_TYPE_ASCII, "NOOP", 0, nullptr)) return;
    const DWORD error = GetLastError();
    internet::LastResponseText();  // read and dropped: nothing is raised from the timer
    if (internet::ConnectionLost(connection_, error)) OnStatus(INTERNET_STATUS_CONNECTION_CLOSED);
}

// ---- status

void FtpConnection::OnStatus(long status) {
    if (status == kKeepAliveStatus) {
        SendKeepAlive();
    } else if (status == INTERNET_STATUS_CONNECTION_CLOSED && autoReconnect_ && !userDisconnected_ && !connecting_) {
        Connect(StoredSettings());
    }
}

// The connection changes only on its own thread: a notification that WinInet delivers on
// one of its threads (asynchronous sessions) is not acted on, since a reconnection there
// would run beside the caller's use of the object; the next call finds a closed connection.
void FtpConnection::OnInternetStatus(DWORD status, void*, DWORD) noexcept {
    if (GetCurrentThreadId() != ownerThread_) return;
    try {
        OnStatus(static_cast<long>(status));
    } catch (...) {
        // Nothing reaches WinInet.
    }
}

void FtpConnection::HandleServerFailure(const AutomationError& error) {
    const HRESULT number = error.Number();
    const auto code = static_cast<DWORD>(HRESULT_CODE(number));
    if (HRESULT_FACILITY(number) != FACILITY_WIN32 || !internet::ConnectionLost(connection_, code)) return;
    OnInternetStatus(INTERNET_STATUS_CONNECTION_CLOSED, nullptr, 0);
    if (code == ERROR_FTP_TRANSFER_IN_PROGRESS) {
        RaiseSystemError(ERROR_INTERNET_CONNECTION_RESET, error.Source().empty() ? kClassName : error.Source());
    }
}

void FtpConnection::MakeCurrent(const Path& folder, std::wstring_view source) {
    if (!internet::SetCurrentFolder(connection_, ServerFolder(folder))) {
        RaiseSystemError(static_cast<long>(GetLastError()), source,
                         L"Could not set current directory to " + folder.FullPath() + L".");
    }
}

std::wstring FtpConnection::ServerFolder(const Path& folder) {
    std::wstring relative = folder.RelativePath();
    return relative.empty() ? L"/" : relative;
}

ComPtr<FtpFolderItem> FtpConnection::FolderItem(std::wstring_view path) {
    return FtpFolderItem::On(this, PathObject(path));
}

ComPtr<FtpConnection> FtpConnection::SynchronousClone() const {
    Settings settings = StoredSettings();
    settings.async = false;
    return Connected(settings);
}

// Every missing level from the root down is made; existing levels are passed over.
void FtpConnection::CreateFolderChain(const Path& folder) {
    std::vector<std::wstring> segments;
    const ComPtr<FindDataRecord> entry = FindDataRecord::Make();
    for (size_t index = 1; index < folder.SegmentCount(); ++index) {
        segments.emplace_back(folder.Segment(index));
        const ComPtr<Path> level = root_->JoinedPath(segments);
        const ComPtr<Path> parentPath = level->ParentPath();
        const Path& parent = Existing(parentPath);
        if (internet::FindItem(connection_, ServerFolder(parent), level->Name(), *entry.Get(), INTERNET_FLAG_RELOAD, 0,
                               true, kClassName)) {
            continue;
        }
        if (!internet::SetCurrentFolder(connection_, ServerFolder(parent)) ||
            !internet::CreateFolder(connection_, level->Name())) {
            RaiseLastError();
        }
    }
}

ComPtr<Path> FtpConnection::PathObject(std::wstring_view fullPath) const {
    if (!root_) Raise(RunTimeError::InvalidCall, kClassName);
    const std::wstring text(fullPath);
    if (LowerCase(text).find(kScheme) == std::wstring::npos) return root_->JoinedPath({text});
    const std::wstring base = LowerCase(root_->FullPath() + L"/");
    if (LowerCase(text + L"/").compare(0, base.size(), base) != 0) Raise(RunTimeError::InvalidCall, kClassName);
    return Path::Parse(text);
}

// ---- _FtpConnection

HRESULT FtpConnection::Clone(_FtpConnection** value) {
    return Get(value, [&] { return Connected(StoredSettings()); });
}

HRESULT FtpConnection::get_Handle(LONG* value) {
    return Get(value, [&] { return HandleAsLong(connection_); });
}

HRESULT FtpConnection::get_IsConnected(VARIANT_BOOL* value) {
    return Get(value, [&] { return connection_ != nullptr; });
}

HRESULT FtpConnection::get_IsAsync(VARIANT_BOOL* value) {
    return Get(value, [&] { return (sessionFlags_ & kAsyncFlag) != 0; });
}

HRESULT FtpConnection::GetWorkingFolder(BSTR* value) {
    return Get(value, [&] {
        std::wstring folder;
        OnServer([&] {
            std::optional<std::wstring> current = internet::CurrentFolder(connection_);
            if (!current) RaiseLastError();
            folder = std::move(*current);
        });
        return folder;
    });
}

HRESULT FtpConnection::SetWorkingFolder(BSTR Path) {
    return Run([&] { OnServer([&] { MakeCurrent(Existing(PathObject(Bstr::View(Path)))); }); });
}

// Renaming never moves: the source keeps its folder and takes the destination's name.
HRESULT FtpConnection::RenameFolderItem(BSTR SourcePath, BSTR DestinationPath) {
    return Run([&] {
        const ComPtr<Path> source = PathObject(Bstr::View(SourcePath));
        const ComPtr<Path> destination = PathObject(Bstr::View(DestinationPath));
        OnServer([&] {
            MakeCurrent(Existing(source->ParentPath()));
            if (!internet::RenameFile(connection_, source->Name(), destination->Name())) RaiseLastError();
        });
    });
}

HRESULT FtpConnection::DeleteFolderItem(BSTR Path) {
    return Run([&] {
        const ComPtr<vofs::Path> item = PathObject(Bstr::View(Path));
        OnServer([&] {
            MakeCurrent(Existing(item->ParentPath()));
            if (!internet::DeleteFile(connection_, item->Name())) RaiseLastError();
        });
    });
}

HRESULT FtpConnection::GetPathObject(BSTR FullPath, _Path** value) {
    return Get(value, [&] { return PathObject(Bstr::View(FullPath)); });
}

HRESULT FtpConnection::GetFolderItem(BSTR Path, _FtpFolderItem** value) {
    return Get(value, [&] { return FolderItem(Bstr::View(Path)); });
}

HRESULT FtpConnection::EnumFolder(BSTR Path, BSTR Filter, _FtpFolderEnumerator** value) {
    return Get(value, [&] { return FolderItem(Bstr::View(Path))->Enumerator(Bstr::View(Filter)); });
}

HRESULT FtpConnection::CreateFolder(BSTR FolderPath) {
    return Run([&] {
        const ComPtr<Path> folder = PathObject(Bstr::View(FolderPath));
        OnServer([&] { CreateFolderChain(*folder.Get()); });
    });
}

HRESULT FtpConnection::get_AutoReconnect(VARIANT_BOOL* value) {
    return Get(value, [&] { return autoReconnect_; });
}

HRESULT FtpConnection::put_AutoReconnect(VARIANT_BOOL value) {
    return Run([&] { autoReconnect_ = value != VARIANT_FALSE; });
}

HRESULT FtpConnection::Disconnect() {
    return Run([&] { Close(); });
}

HRESULT FtpConnection::Callback(InternetStatus dwInternetStatus, LONG, LONG) {
    return Run([&] { OnStatus(dwInternetStatus); });
}

}  // namespace vofs
