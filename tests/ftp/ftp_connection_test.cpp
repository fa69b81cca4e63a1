// FTP sessions against the servers of the test session (pyftpdlib with its watched and
// faulty users, vsftpd): what each server saw is read from the main server's command log.
// Through the seam what no server shows: the keep-alive timer, the proxy options, port 0.

#include "common/ansi.h"
#include "common/platform_api.h"
#include "facade/file_system_lib.h"
#include "ftp/ftp_connection.h"
#include "ftp/internet_session.h"
#include "ftp/proxy_settings.h"
#include "support/test_support.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <vector>

namespace vofs::testing {
namespace {

std::string Setting(const char* name) {
    char value[400] = "";
    const DWORD length = GetEnvironmentVariableA(name, value, sizeof value);
    EXPECT_GT(length, 0u) << name << " is not set: the test session's FTP servers are not running";
    return value;
}
long Port(const char* server) { return std::atol(Setting(server).c_str()); }
std::filesystem::path HostPath(const char* setting) { return L"Z:" + FromAnsi(Setting(setting)); }

// The commands the main server received from `user`, oldest first.
std::vector<std::string> CommandsOf(const std::string& user) {
    std::istringstream log(FileContents(HostPath("VOFS_FTP_LOG").wstring()));
    std::vector<std::string> commands;
    for (std::string line; std::getline(log, line);) {
        if (line.rfind(user + "\t", 0) == 0) commands.push_back(line.substr(user.size() + 1));
    }
    return commands;
}
// How many of the commands from `from` on begin with `verb`.
long Sent(const std::vector<std::string>& commands, std::string_view verb, size_t from = 0) {
    return std::count_if(commands.begin() + static_cast<ptrdiff_t>(std::min(from, commands.size())), commands.end(),
                         [&](const std::string& command) { return command.rfind(verb, 0) == 0; });
}

class FtpSessions : public ::testing::Test {
protected:
    HRESULT Connect(ComPtr<_FtpConnection>& connection, const std::wstring& user, long port = Port("VOFS_FTP_PORT"),
                    const std::wstring& server = L"127.0.0.1", long method = 0, _ProxySettings* proxy = nullptr,
                    bool passive = false, bool keepAlives = false) {
        const bool anonymous = user == L"anonymous";
        return lib_->FtpConnect(Bstr(server).Get(), *StringValue(user).Get(), *StringValue(L"secret").Get(),
                                anonymous ? VARIANT_TRUE : VARIANT_FALSE, VARIANT_FALSE,
                                static_cast<InternetOpenMethods>(method), port, proxy, passive ? VARIANT_TRUE : VARIANT_FALSE,
                                keepAlives ? VARIANT_TRUE : VARIANT_FALSE, connection.ReleaseAndGetAddressOf());
    }
    ComPtr<_FtpConnection> Connected(const std::wstring& user, long port = Port("VOFS_FTP_PORT"), bool passive = false,
                                     bool keepAlives = false) {
        ComPtr<_FtpConnection> connection;
        EXPECT_EQ(Connect(connection, user, port, L"127.0.0.1", 0, nullptr, passive, keepAlives), S_OK) << Narrow(user);
        return connection;
    }
    ComPtr<FileSystemLib> lib_ = FileSystemLib::Make();
    const std::filesystem::path mainRoot_ = HostPath("VOFS_FTP_ROOT"), vsftpdRoot_ = HostPath("VOFS_VSFTPD_ROOT");
};

TEST_F(FtpSessions, ConnectsAsUsersDoAndFailsWithTheServersName) {
    const struct {
        std::wstring server, user;
        long port, method;
        HRESULT expected;
    } cases[] = {
        {L"127.0.0.1", L"tester", Port("VOFS_FTP_PORT"), 1, S_OK},
        {L"ftp://FTP://127.0.0.1", L"tester", Port("VOFS_FTP_PORT"), 0, S_OK},
        {L"127.0.0.1", L"anonymous", Port("VOFS_VSFTPD_PORT"), 0, S_OK},
        {L"127.0.0.1", L"nobody", Port("VOFS_FTP_PORT"), 0, System(ERROR_INTERNET_LOGIN_FAILURE)},
        {L"127.0.0.1", L"refused", Port("VOFS_FTP_PORT"), 0, System(ERROR_INTERNET_CONNECTION_RESET)},
        {L"ftp://127.0.0.1", L"tester", 1, 0, System(ERROR_INTERNET_CANNOT_CONNECT)},
        {L"127.0.0.1", L"tester", Port("VOFS_FTP_PORT"), 2, RunTime(5)},
    };
    for (const auto& c : cases) {
        ComPtr<_FtpConnection> connection;
        const ErrorRecord error = TakeError(Connect(connection, c.user, c.port, c.server, c.method));
        ASSERT_EQ(error.number, c.expected) << Narrow(c.server + L" " + c.user);
        if (c.expected == S_OK) {
            EXPECT_EQ(TextOf(connection.Get(), &_FtpConnection::GetWorkingFolder), L"/");
            ComPtr<_Path> path;
            ASSERT_EQ(connection->GetPathObject(Bstr(L"a").Get(), &path), S_OK);
            EXPECT_EQ(TextOf(path.Get(), &_Path::get_FullPath), L"ftp://127.0.0.1/a");
        } else if (c.method != 2) {
            EXPECT_EQ(error.source, L"FtpConnection");
            EXPECT_EQ(error.description.rfind(L"Could not connect to FTP server 127.0.0.1.\r\n", 0), 0u) << Narrow(error.description);
            EXPECT_EQ(error.description.find(L"secret"), std::wstring::npos);
        }
    }
}

TEST_F(FtpSessions, MakesRenamesAndDeletesAndClassifiesBothServersReplies) {
    const ComPtr<_FtpConnection> main = Connected(L"tester"), vsftpd = Connected(L"anonymous", Port("VOFS_VSFTPD_PORT"));
    const auto call = [](_FtpConnection* connection, auto member, auto... texts) {
        return TakeError((connection->*member)(Bstr(texts).Get()...));
    };
    std::filesystem::remove_all(mainRoot_ / "made");
    for (int twice = 0; twice < 2; ++twice) EXPECT_EQ(call(main.Get(), &_FtpConnection::CreateFolder, L"/made/a/b").number, S_OK);
    EXPECT_EQ(call(vsftpd.Get(), &_FtpConnection::CreateFolder, L"ftp://127.0.0.1/pub/made/a").number, S_OK);
    EXPECT_TRUE(std::filesystem::is_directory(mainRoot_ / "made/a/b") && std::filesystem::is_directory(vsftpdRoot_ / "pub/made/a"));
    std::ofstream(mainRoot_ / "made/a/f.txt") << "x";
    EXPECT_EQ(call(main.Get(), &_FtpConnection::RenameFolderItem, L"made/a/f.txt", L"/made/b/g.txt").number, S_OK);
    EXPECT_TRUE(std::filesystem::exists(mainRoot_ / "made/a/g.txt"));  // renamed in place
    EXPECT_EQ(call(main.Get(), &_FtpConnection::DeleteFolderItem, L"/made/a/g.txt").number, S_OK);
    EXPECT_FALSE(std::filesystem::exists(mainRoot_ / "made/a/g.txt"));

    const std::tuple<_FtpConnection*, std::function<ErrorRecord(_FtpConnection*)>, HRESULT, std::wstring> failures[] = {
        {main.Get(), [&](auto* c) { return call(c, &_FtpConnection::SetWorkingFolder, L"/missing"); }, System(2),
         L"Could not set current directory to ftp://127.0.0.1/missing.\r\n"},
        {main.Get(), [&](auto* c) { return call(c, &_FtpConnection::DeleteFolderItem, L"/made/none.txt"); }, System(2), L""},
        {vsftpd.Get(), [&](auto* c) { return call(c, &_FtpConnection::SetWorkingFolder, L"/missing"); }, System(12003),
         L"Could not set current directory to ftp://127.0.0.1/missing.\r\n550 Failed to change directory."},
        {vsftpd.Get(), [&](auto* c) { return call(c, &_FtpConnection::DeleteFolderItem, L"/pub/made/a"); }, System(5), L""},
        {main.Get(), [](auto* c) { _Path* p = nullptr; return TakeError(c->GetPathObject(Bstr(L"ftp://127.0.0.2/x").Get(), &p)); },
         RunTime(5), L""},
    };
    for (const auto& [connection, failing, number, text] : failures) {
        const ErrorRecord error = failing(connection);
        EXPECT_EQ(Raised(error), Raised(L"FtpConnection", number));
        EXPECT_EQ(error.description.rfind(text, 0), 0u) << Narrow(error.description);
    }
}

// Listings the server refuses with 425 or 426 are tried four times in all, never a fifth.
TEST_F(FtpSessions, RefusedListingsAreRetriedFourTimesInAll) {
    std::filesystem::create_directories(mainRoot_ / "listed");
    for (const auto& [user, expected] : {std::pair{L"fault-data425x3", S_OK}, {L"fault-data426x3", S_OK},
                                         {L"fault-data425x4", System(12003)}}) {
        const size_t before = CommandsOf(Narrow(user)).size();
        EXPECT_EQ(TakeError(Connected(user)->CreateFolder(Bstr(L"/listed").Get())).number, expected) << Narrow(user);
        EXPECT_EQ(Sent(CommandsOf(Narrow(user)), "LIST", before), 4) << Narrow(user);
    }
}

TEST_F(FtpSessions, ReconnectsWhenTheServerDropsUnlessTheCallerDisconnected) {
    for (const bool automatic : {true, false}) {
        const std::string user = automatic ? "fault-drop3" : "fault-drop2";
        const size_t before = CommandsOf(user).size();
        const ComPtr<_FtpConnection> connection = Connected(FromAnsi(user));
        ASSERT_EQ(connection->put_AutoReconnect(automatic ? VARIANT_TRUE : VARIANT_FALSE), S_OK);
        std::vector<HRESULT> results;
        for (int call = 0; call < 4; ++call) {
            Bstr folder;
            results.push_back(connection->GetWorkingFolder(folder.Receive()));
        }
        EXPECT_NE(results[automatic ? 2 : 1], S_OK) << user;  // the call the server dropped
        EXPECT_EQ(results[3] == S_OK, automatic) << user;
        EXPECT_EQ(Sent(CommandsOf(user), "PASS", before), automatic ? 2 : 1) << user;
    }
    const ComPtr<_FtpConnection> connection = Connected(L"watch-closed");
    for (const bool disconnected : {false, true}) {
        const size_t before = CommandsOf("watch-closed").size();
        if (disconnected) {
            EXPECT_EQ(connection->Disconnect(), S_OK);
        }
        ComPtr<_IInternetStatus> status;
        ASSERT_EQ(connection.As(&status), S_OK);
        EXPECT_EQ(status->Callback(static_cast<InternetStatus>(INTERNET_STATUS_CONNECTION_CLOSED), 0, 0), S_OK);
        EXPECT_EQ(Sent(CommandsOf("watch-closed"), "PASS", before), disconnected ? 0 : 1);
        EXPECT_EQ(ValueOf<VARIANT_BOOL>(connection.Get(), &_FtpConnection::get_IsConnected), disconnected ? VARIANT_FALSE : VARIANT_TRUE);
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
    const size_t start = CommandsOf("watch-keepalive").size();
    const ComPtr<_FtpConnection> connection = Connected(L"watch-keepalive", Port("VOFS_FTP_PORT"), false, true);
    Sleep(500);
    EXPECT_EQ(Sent(CommandsOf("watch-keepalive"), "NOOP", start), 0);
    PumpFor(800);
    EXPECT_GE(Sent(CommandsOf("watch-keepalive"), "NOOP", start), 4);
    ASSERT_EQ(connection->Disconnect(), S_OK);
    const size_t stopped = CommandsOf("watch-keepalive").size();
    PumpFor(400);
    EXPECT_EQ(Sent(CommandsOf("watch-keepalive"), "NOOP", stopped), 0);
    EXPECT_EQ(std::make_pair(requestedInterval, timersKilled), std::make_pair(90000u, 1));
}

TEST_F(FtpSessions, ACloneOfAPassiveConnectionTransfersActively) {
    std::filesystem::create_directories(mainRoot_ / "listed");
    const ComPtr<_FtpConnection> passive = Connected(L"watch-passive", Port("VOFS_FTP_PORT"), true);
    ComPtr<_FtpConnection> clone;
    ASSERT_EQ(passive->Clone(clone.ReleaseAndGetAddressOf()), S_OK);
    for (const auto& [connection, passiveListings, activeListings] :
         {std::tuple{passive.Get(), 1L, 0L}, {clone.Get(), 0L, 1L}}) {
        const size_t before = CommandsOf("watch-passive").size();
        EXPECT_EQ(connection->CreateFolder(Bstr(L"/listed").Get()), S_OK);
        const std::vector<std::string> commands = CommandsOf("watch-passive");
        EXPECT_EQ(Sent(commands, "PASV", before), passiveListings);
        EXPECT_EQ(Sent(commands, "PORT", before), activeListings);
    }
}

std::vector<std::string> reachedWinInet;
HINTERNET WINAPI DirectOpen(LPCSTR agent, DWORD access, LPCSTR proxy, LPCSTR bypass, DWORD flags) {
    reachedWinInet.push_back("open " + std::to_string(access) + " " + (proxy ? proxy : "(none)"));
    return InternetOpenA(agent, INTERNET_OPEN_TYPE_DIRECT, nullptr, bypass, flags);
}
BOOL WINAPI RecordedOption(HINTERNET, DWORD option, LPVOID buffer, DWORD length) {
    reachedWinInet.push_back(std::to_string(option) + " " + std::string(static_cast<const char*>(buffer), length));
    return TRUE;
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
        ComPtr<_FtpConnection> connection;
        EXPECT_EQ(Connect(connection, L"tester", 0, L"127.0.0.1", method, proxy.Get()), S_OK);
        EXPECT_EQ(reachedWinInet, expected);
    }
}

struct Receiver final : internet::StatusReceiver {
    void OnInternetStatus(DWORD status, void*, DWORD length) noexcept override { seen.push_back(status * 10 + length); }
    std::vector<DWORD> seen;
};

TEST(InternetLayer, StatusDispatchVersionAndThePumpingWait) {
    Receiver receiver;
    const DWORD_PTR gone = Receiver().Context();  // a notification after its receiver went
    for (const DWORD_PTR context : {DWORD_PTR{0}, ~DWORD_PTR{0}, gone, receiver.Context()})
        internet::DispatchStatus(nullptr, context, INTERNET_STATUS_CONNECTION_CLOSED, nullptr, 3);
    EXPECT_EQ(receiver.seen, std::vector<DWORD>{513});
    EXPECT_TRUE(internet::VersionAtLeast12(nullptr));

    const HANDLE events[] = {CreateEventW(nullptr, TRUE, FALSE, nullptr), CreateEventW(nullptr, TRUE, TRUE, nullptr)};
    const volatile long stop = 1;
    DWORD raw = 0;
    const auto wait = [&](DWORD count, DWORD timeout, const volatile long* flag = nullptr) {
        return internet::PumpingWait(events, count, timeout, QS_ALLINPUT, false, true, raw, flag, L"Test");
    };
    EXPECT_EQ(wait(2, 1000), 2);
    EXPECT_EQ(std::make_pair(wait(1, 50), raw), std::make_pair(0L, DWORD{WAIT_TIMEOUT}));
    EXPECT_EQ(wait(2, 1000, &stop), 0);
    QueueUserAPC([](ULONG_PTR) {}, GetCurrentThread(), 0);
    PostThreadMessageW(GetCurrentThreadId(), WM_USER, 0, 0);  // processed, then the wait goes on
    EXPECT_EQ(wait(1, 1000), 1);
    const HANDLE closed[] = {CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    CloseHandle(closed[0]);
    EXPECT_EQ(Raised(CaughtError([&] { internet::PumpingWait(closed, 1, 10, 0, false, false, raw, nullptr, L"Test"); })),
              Raised(L"Test", System(ERROR_INVALID_HANDLE)));
    for (HANDLE event : events) CloseHandle(event);
}

}  // namespace
}  // namespace vofs::testing
