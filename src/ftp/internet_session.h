#pragma once
// The internet layer (the MWinInet routines): every WinInet call the FTP classes make, in
// its wide and ANSI forms (the FTP rule picks the ANSI ones), each followed by the
// refinement that turns WinInet's extended error (12003) into the error the server's
// reply stands for; the last reply; the WinInet version test; the status dispatch that
// hands notifications back to the object that started a request; and the lookup of one
// item in a remote folder.

#include "common/platform_headers.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vofs {

class FindDataRecord;

namespace internet {

// A handle is invalid when, read as a signed 32-bit number, it lies in -1..0.
bool IsValid(HINTERNET handle);

// The wrappers leave the refined error as the thread's last error.
HINTERNET OpenSession(std::wstring_view agent, DWORD accessType, std::wstring_view proxy, DWORD flags);
HINTERNET Connect(HINTERNET session, std::wstring_view server, INTERNET_PORT port, std::wstring_view user,
                  std::wstring_view password, DWORD flags, DWORD_PTR context);
HINTERNET FindFirst(HINTERNET connection, std::wstring_view pattern, FindDataRecord& entry, DWORD flags,
                    DWORD_PTR context);
bool FindNext(HINTERNET find, FindDataRecord& entry);
bool QueryOption(HINTERNET handle, DWORD option, void* buffer, DWORD& length);
bool RenameFile(HINTERNET connection, std::wstring_view from, std::wstring_view to);
bool CreateFolder(HINTERNET connection, std::wstring_view path);
bool DeleteFile(HINTERNET connection, std::wstring_view path);
bool RemoveFolder(HINTERNET connection, std::wstring_view path);
bool SetCurrentFolder(HINTERNET connection, std::wstring_view path);
std::optional<std::wstring> CurrentFolder(HINTERNET connection);
HINTERNET OpenFile(HINTERNET connection, std::wstring_view name, DWORD access, DWORD flags, DWORD_PTR context);
bool ReadFile(HINTERNET file, void* buffer, DWORD count, DWORD& moved);
bool WriteFile(HINTERNET file, const void* buffer, DWORD count, DWORD& moved);
// The new position, or INVALID_SET_FILE_POINTER.
DWORD SetFilePointer(HINTERNET file, LONG distance, DWORD origin);
// The size in bytes, or none.
std::optional<uint64_t> FileSize(HINTERNET file);
// Closes a valid handle; others are left alone.
void Close(HINTERNET handle);

// Error refinement: when `code` (0: the last error) is 12003, the server's last reply is
// classified and its code becomes the last error.
void RefineLastError(DWORD code = 0);

// The last reply's lines, its last non-empty line, and that line's code (0 when none).
std::string LastResponseText();
std::string LastReplyLine();
long LastReplyCode();

// True when WinInet is version 1.2 or later (asked on `handle`, or on a session opened for
// the question when the handle is invalid).
bool VersionAtLeast12(HINTERNET handle);

// What the FTP objects that start requests receive notifications through. The context a
// request carries names its receiver by a registration number, never by address: WinInet
// may deliver a notification on one of its own threads after the object that started the
// request has gone, and such a notification finds no receiver and is dropped. A receiver
// is never destroyed while a notification is being delivered to it.
class StatusReceiver {
public:
    DWORD_PTR Context() const { return context_; }
    virtual void OnInternetStatus(DWORD status, void* information, DWORD length) noexcept = 0;

protected:
    StatusReceiver();
    ~StatusReceiver();
    StatusReceiver(const StatusReceiver&) = delete;
    StatusReceiver& operator=(const StatusReceiver&) = delete;
    // Ends the deliveries now (once a delivery under way has returned); idempotent.
    void StopReceiving() noexcept;

private:
    DWORD_PTR context_;
};

// The status callback the FTP classes register: hands each notification to the receiver
// its context names (0 and -1: none), swallowing nothing itself (receivers are noexcept).
void CALLBACK DispatchStatus(HINTERNET handle, DWORD_PTR context, DWORD status, LPVOID information, DWORD length);

// Looks one item up in a remote folder (the folder "/" or ending without "/"), filling
// `entry`; false when it is not there. Wildcard listings that the server refuses with 150,
// 425, 426 or 500 are tried again, four attempts in all. A folder that cannot be made
// current raises the system error under `source`.
bool FindItem(HINTERNET connection, std::wstring folder, std::wstring_view name, FindDataRecord& entry, DWORD flags,
              DWORD_PTR context, bool textComparison, std::wstring_view source);

// True for the errors a closed control connection can cause: socket errors (a server's
// reply 421 or 426 is refined to one too, with the connection intact) and "transfer in
// progress" (12110), WinInet's word for a reply it could not read, and for a real
// transfer in progress.
bool MayMeanConnectionLost(DWORD error);

// True when a call on `connection` failed with `error` because the server closed the
// control connection: for an error that may mean it, up to two NOOPs settle it, which
// fail with a socket error only when the connection is gone.
bool ConnectionLost(HINTERNET connection, DWORD error);

// The message-pumping wait: waits for one of `handles` (all of them with `waitAll`) for
// up to `timeout` ms (0: no limit) while window messages keep being processed and, when
// `alertable`, I/O completion routines run. Returns 1 after a completion routine ran,
// the handle's index plus 1 when one was signalled or abandoned (abandoned ones from 129),
// 0 on timeout or when `*stop` became non-zero; `rawResult` receives the last raw wait
// result. A failed wait raises the system error ("Wait event(s) failed.") under `source`.
long PumpingWait(const HANDLE* handles, DWORD count, DWORD timeout, DWORD wakeMask, bool waitAll, bool alertable,
                 DWORD& rawResult, const volatile long* stop, std::wstring_view source);

}  // namespace internet
}  // namespace vofs
