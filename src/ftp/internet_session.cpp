#include "ftp/internet_session.h"

#include "common/ansi.h"
#include "common/error.h"
#include "common/host_process.h"
#include "common/platform_api.h"
#include "common/system_error.h"
#include "common/thread_state.h"
#include "ftp/reply_rules.h"
#include "items/find_data.h"
#include "items/find_record.h"

#include <algorithm>
#include <mmsystem.h>
#include <new>
#include <type_traits>
#include <unordered_map>
#include <utility>

namespace vofs::internet {
namespace {

constexpr DWORD kExtendedError = ERROR_INTERNET_EXTENDED_ERROR;  // 12003
constexpr DWORD kVersionOption = INTERNET_OPTION_VERSION;          // 40
constexpr DWORD kCurrentFolderLength = MAX_PATH;
constexpr int kListingAttempts = 4;

// Runs a call and refines the error it left, whatever its result.
template <class Result>
Result Refined(Result result) {
    RefineLastError();
    return result;
}

// The entry a find call filled, in the record's layout of the same width.
template <class Data>
void Keep(const Data& data, FindDataRecord& entry) {
    entry.InitializeFrom(&data, std::is_same_v<Data, WIN32_FIND_DATAW> ? find_record::kWide : find_record::kAnsi);
}

void PumpMessages() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

}  // namespace

bool IsValid(HINTERNET handle) {
    const auto value = static_cast<int32_t>(reinterpret_cast<intptr_t>(handle));
    return value < -1 || value > 0;
}

void RefineLastError(DWORD code) {
    if (code == 0) code = GetLastError();
    if (code != kExtendedError) return;
    try {
        SetLastError(reply_rules::ClassifyReply(LastResponseText()));
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_OUTOFMEMORY);
    }
}

std::string LastResponseText() { return ServerResponseText(); }

std::string LastReplyLine() { return std::string(reply_rules::LastReplyLine(LastResponseText())); }

long LastReplyCode() { return reply_rules::ReplyCode(LastReplyLine()); }

HINTERNET OpenSession(std::wstring_view agent, DWORD accessType, std::wstring_view proxy, DWORD flags) {
    if (FtpUseWideCalls()) {
        const std::wstring proxyName(proxy);
        return Refined(api.InternetOpenW(std::wstring(agent).c_str(), accessType, proxy.empty() ? nullptr : proxyName.c_str(),
                                         nullptr, flags));
    }
    const std::string proxyName = ToAnsi(proxy);
    return Refined(api.InternetOpenA(ToAnsi(agent).c_str(), accessType, proxy.empty() ? nullptr : proxyName.c_str(),
                                     nullptr, flags));
}

HINTERNET Connect(HINTERNET session, std::wstring_view server, INTERNET_PORT port, std::wstring_view user,
                  std::wstring_view password, DWORD flags, DWORD_PTR context) {
    if (FtpUseWideCalls()) {
        return Refined(api.InternetConnectW(session, std::wstring(server).c_str(), port, std::wstring(user).c_str(),
                                            std::wstring(password).c_str(), INTERNET_SERVICE_FTP, flags, context));
    }
    std::string secret = ToAnsi(password);
    const HINTERNET connection = api.InternetConnectA(session, ToAnsi(server).c_str(), port, ToAnsi(user).c_str(),
                                                      secret.c_str(), INTERNET_SERVICE_FTP, flags, context);
    const DWORD error = GetLastError();
    SecureZeroMemory(secret.data(), secret.size());
    SetLastError(error);
    return Refined(connection);
}

HINTERNET FindFirst(HINTERNET connection, std::wstring_view pattern, FindDataRecord& entry, DWORD flags,
                    DWORD_PTR context) {
    if (FtpUseWideCalls()) {
        WIN32_FIND_DATAW data{};
        const HINTERNET find = Refined(api.FtpFindFirstFileW(connection, std::wstring(pattern).c_str(), &data, flags, context));
        if (IsValid(find)) Keep(data, entry);
        return find;
    }
    WIN32_FIND_DATAA data{};
    const HINTERNET find = Refined(api.FtpFindFirstFileA(connection, ToAnsi(pattern).c_str(), &data, flags, context));
    if (IsValid(find)) Keep(data, entry);
    return find;
}

bool FindNext(HINTERNET find, FindDataRecord& entry) {
    if (FtpUseWideCalls()) {
        WIN32_FIND_DATAW data{};
        const bool found = Refined(api.InternetFindNextFileW(find, &data)) != FALSE;
        if (found) Keep(data, entry);
        return found;
    }
    WIN32_FIND_DATAA data{};
    const bool found = Refined(api.InternetFindNextFileA(find, &data)) != FALSE;
    if (found) Keep(data, entry);
    return found;
}

bool QueryOption(HINTERNET handle, DWORD option, void* buffer, DWORD& length) {
    if (FtpUseWideCalls()) return Refined(api.InternetQueryOptionW(handle, option, buffer, &length)) != FALSE;
    return Refined(api.InternetQueryOptionA(handle, option, buffer, &length)) != FALSE;
}

bool RenameFile(HINTERNET connection, std::wstring_view from, std::wstring_view to) {
    if (FtpUseWideCalls()) {
        return Refined(api.FtpRenameFileW(connection, std::wstring(from).c_str(), std::wstring(to).c_str())) != FALSE;
    }
    return Refined(api.FtpRenameFileA(connection, ToAnsi(from).c_str(), ToAnsi(to).c_str())) != FALSE;
}

bool CreateFolder(HINTERNET connection, std::wstring_view path) {
    if (FtpUseWideCalls()) return Refined(api.FtpCreateDirectoryW(connection, std::wstring(path).c_str())) != FALSE;
    return Refined(api.FtpCreateDirectoryA(connection, ToAnsi(path).c_str())) != FALSE;
}

bool DeleteFile(HINTERNET connection, std::wstring_view path) {
    if (FtpUseWideCalls()) return Refined(api.FtpDeleteFileW(connection, std::wstring(path).c_str())) != FALSE;
    return Refined(api.FtpDeleteFileA(connection, ToAnsi(path).c_str())) != FALSE;
}

bool RemoveFolder(HINTERNET connection, std::wstring_view path) {
    if (FtpUseWideCalls()) return Refined(api.FtpRemoveDirectoryW(connection, std::wstring(path).c_str())) != FALSE;
    return Refined(api.FtpRemoveDirectoryA(connection, ToAnsi(path).c_str())) != FALSE;
}

bool SetCurrentFolder(HINTERNET connection, std::wstring_view path) {
    if (FtpUseWideCalls()) return Refined(api.FtpSetCurrentDirectoryW(connection, std::wstring(path).c_str())) != FALSE;
    return Refined(api.FtpSetCurrentDirectoryA(connection, ToAnsi(path).c_str())) != FALSE;
}

// The folder is cut to the length WinInet reports and at its first NUL (Wine counts the
// terminator in the length).
std::optional<std::wstring> CurrentFolder(HINTERNET connection) {
    DWORD length = kCurrentFolderLength;
    if (FtpUseWideCalls()) {
        std::wstring folder(length, L'\0');
        if (!Refined(api.FtpGetCurrentDirectoryW(connection, folder.data(), &length))) return std::nullopt;
        folder.resize(std::min<size_t>(length, folder.size()));
        return std::wstring(TextBeforeNul(std::wstring_view(folder)));
    }
    std::string folder(length, '\0');
    if (!Refined(api.FtpGetCurrentDirectoryA(connection, folder.data(), &length))) return std::nullopt;
    folder.resize(std::min<size_t>(length, folder.size()));
    return FromAnsi(TextBeforeNul(std::string_view(folder)));
}

HINTERNET OpenFile(HINTERNET connection, std::wstring_view name, DWORD access, DWORD flags, DWORD_PTR context) {
    if (FtpUseWideCalls()) {
        return Refined(api.FtpOpenFileW(connection, std::wstring(name).c_str(), access, flags, context));
    }
    return Refined(api.FtpOpenFileA(connection, ToAnsi(name).c_str(), access, flags, context));
}

bool ReadFile(HINTERNET file, void* buffer, DWORD count, DWORD& moved) {
    return Refined(api.InternetReadFile(file, buffer, count, &moved)) != FALSE;
}

bool WriteFile(HINTERNET file, const void* buffer, DWORD count, DWORD& moved) {
    return Refined(api.InternetWriteFile(file, buffer, count, &moved)) != FALSE;
}

DWORD SetFilePointer(HINTERNET file, LONG distance, DWORD origin) {
    return Refined(api.InternetSetFilePointer(file, distance, nullptr, origin, 0));
}

std::optional<uint64_t> FileSize(HINTERNET file) {
    DWORD high = 0;
    SetLastError(NO_ERROR);
    const DWORD low = Refined(api.FtpGetFileSize(file, &high));
    if (low == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) return std::nullopt;
    return uint64_t{high} << 32 | low;
}

void Close(HINTERNET handle) {
    if (IsValid(handle)) api.InternetCloseHandle(handle);
}

bool VersionAtLeast12(HINTERNET handle) {
    HINTERNET asked = handle;
    if (!IsValid(handle)) asked = OpenSession(HostApplicationName(), INTERNET_OPEN_TYPE_PRECONFIG, {}, 0);
    INTERNET_VERSION_INFO version{};
    DWORD length = sizeof version;
    const bool known = QueryOption(asked, kVersionOption, &version, length);
    if (asked != handle) Close(asked);
    return known && (version.dwMajorVersion << 16 | (version.dwMinorVersion & 0xFFFF)) >= (1u << 16 | 2u);
}

namespace {

// The live receivers by registration number. Deliveries and unregistrations take the same
// lock, which the delivering thread may take again (a receiver's reaction can close a
// handle, and WinInet then reports that synchronously).
class Receivers {
public:
    Receivers() { InitializeCriticalSection(&lock_); }
    ~Receivers() { DeleteCriticalSection(&lock_); }

    DWORD_PTR Add(StatusReceiver* receiver) {
        const Locked locked(lock_);
        const DWORD_PTR context = next_++;
        live_.emplace(context, receiver);
        return context;
    }
    void Remove(DWORD_PTR context) noexcept {
        const Locked locked(lock_);
        live_.erase(context);
    }
    void Deliver(DWORD_PTR context, DWORD status, void* information, DWORD length) noexcept {
        const Locked locked(lock_);
        const auto found = live_.find(context);
        if (found != live_.end()) found->second->OnInternetStatus(status, information, length);
    }

private:
    struct Locked {
        explicit Locked(CRITICAL_SECTION& lock) : lock(lock) { EnterCriticalSection(&lock); }
        ~Locked() { LeaveCriticalSection(&lock); }
        CRITICAL_SECTION& lock;
    };
    CRITICAL_SECTION lock_;
    DWORD_PTR next_ = 1;
    std::unordered_map<DWORD_PTR, StatusReceiver*> live_;
};

Receivers& LiveReceivers() {
    static Receivers receivers;
    return receivers;
}

}  // namespace

StatusReceiver::StatusReceiver() : context_(LiveReceivers().Add(this)) {}

StatusReceiver::~StatusReceiver() { StopReceiving(); }

void StatusReceiver::StopReceiving() noexcept {
    if (context_) LiveReceivers().Remove(std::exchange(context_, 0));
}

void CALLBACK DispatchStatus(HINTERNET, DWORD_PTR context, DWORD status, LPVOID information, DWORD length) {
    if (IsValid(reinterpret_cast<HINTERNET>(context))) LiveReceivers().Deliver(context, status, information, length);
}

bool FindItem(HINTERNET connection, std::wstring folder, std::wstring_view name, FindDataRecord& entry, DWORD flags,
              DWORD_PTR context, bool textComparison, std::wstring_view source) {
    folder = folder == L"/" ? std::wstring() : folder + L"/";
    std::wstring pattern = L"*.*";
    if (!SetCurrentFolder(connection, folder + std::wstring(name)) && GetLastError() != ERROR_ACCESS_DENIED) {
        pattern.assign(name);
        for (wchar_t& c : pattern) c = c == L' ' ? L'?' : c;
    }
    if (folder.empty()) folder = L"/";
    if (!SetCurrentFolder(connection, folder)) {
        RefineLastError();
        RaiseSystemError(static_cast<long>(GetLastError()), source);
    }
    const bool wildcard = pattern.find_first_of(L"*?") != std::wstring::npos;
    HINTERNET find = nullptr;
    for (int attempt = 1;; ++attempt) {
        find = FindFirst(connection, pattern, entry, flags, context);
        if (IsValid(find) || !wildcard || attempt >= kListingAttempts) break;
        const long reply = LastReplyCode();
        if (reply != 150 && reply != 425 && reply != 426 && reply != 500) break;
        PumpMessages();
    }
    bool found = IsValid(find) && !wildcard;
    if (IsValid(find) && wildcard) {
        const auto same = [&](const std::wstring& candidate) {
            return textComparison ? CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, candidate.c_str(), -1,
                                                   std::wstring(name).c_str(), -1) == CSTR_EQUAL
                                  : candidate == name;
        };
        found = same(entry.FileName());
        while (!found && FindNext(find, entry)) found = same(entry.FileName());
    }
    Close(find);
    RefineLastError();
    return found;
}

namespace {

bool IsSocketError(DWORD code) {
    return code == ERROR_INTERNET_CONNECTION_ABORTED || code == ERROR_INTERNET_CONNECTION_RESET ||
           code == WSAECONNABORTED || code == WSAECONNRESET || code == WSAENOTCONN || code == WSAESHUTDOWN;
}

}  // namespace

bool MayMeanConnectionLost(DWORD error) { return IsSocketError(error) || error == ERROR_FTP_TRANSFER_IN_PROGRESS; }

bool ConnectionLost(HINTERNET connection, DWORD error) {
    if (!MayMeanConnectionLost(error) || !IsValid(connection)) return false;
    // The first NOOP on a closed socket may still be sent and only its reply be missing;
    // the second then fails to be sent.
    for (int probe = 0; probe < 2; ++probe) {
        if (api.FtpCommandA(connection, FALSE, FTP_TRANSFER_TYPE_ASCII, "NOOP", 0, nullptr)) return false;
        if (IsSocketError(GetLastError())) return true;
    }
    return false;
}

long PumpingWait(const HANDLE* handles, DWORD count, DWORD timeout, DWORD wakeMask, bool waitAll, bool alertable,
                 DWORD& rawResult, const volatile long* stop, std::wstring_view source) {
    const bool limited = timeout > 0;
    const DWORD deadline = timeGetTime() + timeout;
    const DWORD flags = (alertable ? MWMO_ALERTABLE : 0) | (waitAll ? MWMO_WAITALL : 0);
    for (;;) {
        if (stop && *stop != 0) return 0;
        DWORD remaining = INFINITE;
        if (limited) {
            const auto left = static_cast<int32_t>(deadline - timeGetTime());
            remaining = left > 0 ? static_cast<DWORD>(left) : 0;
        }
        rawResult = MsgWaitForMultipleObjectsEx(count, handles, remaining, wakeMask, flags);
        if (rawResult == WAIT_IO_COMPLETION) return 1;
        if (rawResult < WAIT_OBJECT_0 + count) return static_cast<long>(rawResult - WAIT_OBJECT_0) + 1;
        if (rawResult >= WAIT_ABANDONED_0 && rawResult < WAIT_ABANDONED_0 + count) return static_cast<long>(rawResult) + 1;
        if (rawResult == WAIT_TIMEOUT) return 0;
        if (rawResult == WAIT_FAILED) RaiseSystemError(static_cast<long>(GetLastError()), source, L"Wait event(s) failed.");
        PumpMessages();
    }
}

}  // namespace vofs::internet
