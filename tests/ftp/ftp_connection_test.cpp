// FTP sessions against the servers of the test session (pyftpdlib with its watched and
// faulty users, vsftpd): what the main server saw is read from its command log. Through
// the seam what no server shows: the keep-alive timer, the proxy options, port 0. Folders,
// renames, deletes and both servers' refusals are the script client's (scripts/ftp.vbs).

#include "common/platform_api.h"
#include "ftp/ftp_sessions.h"
#include "ftp/internet_session.h"
#include "ftp/proxy_settings.h"

namespace vofs::testing {
namespace {

// Listings the server refuses with 425 or 426 are tried four times in all, never a fifth.
TEST_F(FtpSessions, RefusedListingsAreRetriedFourTimesInAll) {
    std::filesystem::create_directories(mainRoot_ / "listed");
    for (const auto& [user, expected] : {std::pair{L"fault-data425x3", S_OK}, {L"fault-data426x3", S_OK},
                                         {L"fault-data425x4", System(12003)}}) {
        const ServerLog log(Narrow(user));
        EXPECT_EQ(TakeError(Connected({.user = user})->CreateFolder(Bstr(L"/listed").Get())).number, expected) << Narrow(user);
        EXPECT_EQ(log.Sent("LIST"), 4) << Narrow(user);
    }
}

TEST_F(FtpSessions, ReconnectsWhenTheServerDropsUnlessTheCallerDisconnected) {
    for (const bool automatic : {true, false}) {  // the third or the second call is dropped
        const std::string user = automatic ? "fault-drop3" : "fault-drop2";
        const ServerLog log(user);
        const ComPtr<_FtpConnection> connection = Connected({.user = FromAnsi(user)});
        ASSERT_EQ(connection->put_AutoReconnect(automatic ? VARIANT_TRUE : VARIANT_FALSE), S_OK);
        std::wstring results;
        for (Bstr folder; results.size() < 4;) results += connection->GetWorkingFolder(folder.Receive()) == S_OK ? L'+' : L'-';
        EXPECT_EQ(results, automatic ? L"++-+" : L"+---") << user;
        // The connection closed as WinInet reports it: nothing happens after Disconnect.
        ComPtr<_IInternetStatus> status;
        ASSERT_EQ(connection.As(&status), S_OK);
        if (automatic) connection->Disconnect();
        EXPECT_EQ(status->Callback(static_cast<InternetStatus>(INTERNET_STATUS_CONNECTION_CLOSED), 0, 0), S_OK);
        EXPECT_EQ(log.Sent("PASS"), automatic ? 2 : 1) << user;
        EXPECT_EQ(ValueOf<VARIANT_BOOL>(connection.Get(), &_FtpConnection::get_IsConnected), automatic ? VARIANT_FALSE : VARIANT_TRUE);
    }
}

UINT requestedInterval = 0;
int timersKilled = 0;
UINT_PTR WINAPI FastTimer(HWND window, UINT_PTR id, UINT interval, TIMERPROC routine) {
    return requestedInterval = interval, SetTimer(window, id, 100, routine);
}
BOOL WINAPI CountedKillTimer(HWND window, UINT_PTR id) { return ++timersKilled, KillTimer(window, id); }
void PumpFor(DWORD milliseconds) {
    for (const DWORD start = GetTickCount(); GetTickCount() - start < milliseconds; Sleep(10)) {
        for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) DispatchMessageW(&message);
    }
}

TEST_F(FtpSessions, KeepAlivesGoOnlyWhileTheThreadPumpsMessages) {
    const ApiOverride<&PlatformApi::SetTimer> timer{&FastTimer};
    const ApiOverride<&PlatformApi::KillTimer> kill{&CountedKillTimer};
    const ServerLog log("watch-keepalive");
    const ComPtr<_FtpConnection> connection = Connected({.user = L"watch-keepalive", .keepAlives = true});
    Sleep(500);
    EXPECT_EQ(log.Sent("NOOP"), 0);
    PumpFor(800);
    EXPECT_GE(log.Sent("NOOP"), 4);
    connection->Disconnect();
    EXPECT_EQ(std::make_pair(requestedInterval, timersKilled), std::make_pair(90000u, 1));
}

TEST_F(FtpSessions, ACloneOfAPassiveConnectionTransfersActively) {
    std::filesystem::create_directories(mainRoot_ / "listed");
    const ComPtr<_FtpConnection> passive = Connected({.user = L"watch-passive", .passive = true});
    ComPtr<_FtpConnection> clone;
    ASSERT_EQ(passive->Clone(clone.ReleaseAndGetAddressOf()), S_OK);
    for (_FtpConnection* connection : {passive.Get(), clone.Get()}) {
        const ServerLog log("watch-passive");
        EXPECT_EQ(connection->CreateFolder(Bstr(L"/listed").Get()), S_OK);
        const long passiveListings = connection == passive.Get() ? 1 : 0;
        EXPECT_EQ(log.Sent("PASV"), passiveListings);
        EXPECT_EQ(log.Sent("PORT"), 1 - passiveListings);
    }
}

std::vector<std::string> reachedWinInet;
HINTERNET WINAPI DirectOpen(LPCSTR agent, DWORD access, LPCSTR proxy, LPCSTR bypass, DWORD flags) {
    reachedWinInet.push_back("open " + std::to_string(access) + " " + (proxy ? proxy : "(none)"));
    return InternetOpenA(agent, INTERNET_OPEN_TYPE_DIRECT, nullptr, bypass, flags);
}
BOOL WINAPI RecordedOption(HINTERNET, DWORD option, LPVOID buffer, DWORD length) {
    return reachedWinInet.push_back(std::to_string(option) + " " + std::string(static_cast<const char*>(buffer), length)), TRUE;
}
HINTERNET WINAPI ToMainServer(HINTERNET session, LPCSTR server, INTERNET_PORT port, LPCSTR user, LPCSTR password,
                              DWORD service, DWORD flags, DWORD_PTR context) {
    reachedWinInet.push_back("port " + std::to_string(port));
    return InternetConnectA(session, server, static_cast<INTERNET_PORT>(Port("VOFS_FTP_PORT")), user, password, service, flags, context);
}

TEST_F(FtpSessions, ProxyCredentialsAndPortZeroAsWinInetReceivesThem) {
    const ApiOverride<&PlatformApi::InternetOpenA> open{&DirectOpen};
    const ApiOverride<&PlatformApi::InternetSetOptionA> option{&RecordedOption};
    const ApiOverride<&PlatformApi::InternetConnectA> connect{&ToMainServer};
    const ComPtr<ProxySettings> proxy = ProxySettings::Make();
    ASSERT_EQ(proxy->put_ProxyAddress(Bstr(L"proxy.example:8021").Get()), S_OK);
    for (const auto& [method, user, expected] :
         {std::tuple{3L, L"", std::vector<std::string>{"open 3 proxy.example:8021", "port 21"}},
          {1L, L"pu", {"open 1 (none)", "43 pu", "44 pw", "port 21"}}}) {
        ASSERT_EQ(proxy->put_UserID(Bstr(user).Get()) | proxy->put_Password(Bstr(L"pw").Get()), S_OK);
        reachedWinInet.clear();
        EXPECT_TRUE(Connected({.port = 0, .method = method, .proxy = proxy.Get()}));
        EXPECT_EQ(reachedWinInet, expected);
    }
}

struct Receiver final : internet::StatusReceiver {
    void OnInternetStatus(DWORD status, void*, DWORD length) noexcept override { seen.push_back(status * 10 + length); }
    std::vector<DWORD> seen;
};

void CALLBACK NothingToDo(ULONG_PTR) {}

TEST(InternetLayer, StatusDispatchAndThePumpingWait) {
    Receiver receiver;
    const DWORD_PTR gone = Receiver().Context();  // a notification after its receiver went
    for (const DWORD_PTR context : {DWORD_PTR{0}, ~DWORD_PTR{0}, gone, receiver.Context()})
        internet::DispatchStatus(nullptr, context, INTERNET_STATUS_CONNECTION_CLOSED, nullptr, 3);
    EXPECT_EQ(receiver.seen, std::vector<DWORD>{513});

    const HANDLE events[] = {CreateEventW(nullptr, TRUE, FALSE, nullptr), CreateEventW(nullptr, TRUE, TRUE, nullptr)};
    const volatile long stop = 1;
    DWORD raw = 0;
    const auto wait = [&](DWORD count, DWORD timeout, const volatile long* flag = nullptr) {
        return internet::PumpingWait(events, count, timeout, QS_ALLINPUT, false, true, raw, flag, L"Test");
    };
    EXPECT_EQ(wait(2, 1000), 2);
    EXPECT_EQ(std::make_pair(wait(1, 50), raw), std::make_pair(0L, DWORD{WAIT_TIMEOUT}));
    EXPECT_EQ(wait(2, 1000, &stop), 0);
    QueueUserAPC(&NothingToDo, GetCurrentThread(), 0);
    PostThreadMessageW(GetCurrentThreadId(), WM_USER, 0, 0);  // processed, then the wait goes on
    EXPECT_EQ(wait(1, 1000), 1);
    for (HANDLE event : events) CloseHandle(event);
}

}  // namespace
}  // namespace vofs::testing
