#pragma once
// The FTP servers of the test session (pyftpdlib with its watched and faulty users,
// vsftpd), as the FTP tests reach them: their settings, what the main server saw (its
// command log) and connections made through FileSystemLib.FtpConnect.

#include "common/ansi.h"
#include "facade/file_system_lib.h"
#include "support/test_support.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace vofs::testing {

inline std::string Setting(const char* name) {
    char value[400] = "";
    const DWORD length = GetEnvironmentVariableA(name, value, sizeof value);
    EXPECT_GT(length, 0u) << name << " is not set: the test session's FTP servers are not running";
    return value;
}
// A file of the server's tree, written directly.
inline void WriteBytes(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}
inline long Port(const char* server) { return std::atol(Setting(server).c_str()); }
inline std::filesystem::path HostPath(const char* setting) { return L"Z:" + FromAnsi(Setting(setting)); }

// What the main server receives from one user from now on (its log: "user<TAB>command").
class ServerLog {
public:
    explicit ServerLog(std::string user) : user_(std::move(user)), from_(Commands().size()) {}
    long Sent(std::string_view verb) const {  // the commands since that begin with `verb`
        const std::vector<std::string> all = Commands();
        return std::count_if(all.begin() + static_cast<ptrdiff_t>(from_), all.end(),
                             [&](const std::string& command) { return command.rfind(verb, 0) == 0; });
    }

private:
    std::vector<std::string> Commands() const {
        std::istringstream log(FileContents(HostPath("VOFS_FTP_LOG").wstring()));
        std::vector<std::string> commands;
        for (std::string line; std::getline(log, line);)
            if (line.rfind(user_ + "\t", 0) == 0) commands.push_back(line.substr(user_.size() + 1));
        return commands;
    }
    std::string user_;
    size_t from_;
};

// What FileSystemLib.FtpConnect is given (server 127.0.0.1, password "secret").
struct Session {
    std::wstring user = L"tester";
    long port = Port("VOFS_FTP_PORT"), method = 0;
    _ProxySettings* proxy = nullptr;
    bool passive = false, keepAlives = false;
};

class FtpSessions : public ::testing::Test {
protected:
    ComPtr<_FtpConnection> Connected(const Session& s) {  // ends the test when it cannot connect
        const auto flag = [](bool value) { return value ? VARIANT_TRUE : VARIANT_FALSE; };
        ComPtr<_FtpConnection> connection;
        if (lib_->FtpConnect(Bstr(L"127.0.0.1").Get(), *StringValue(s.user).Get(), *StringValue(L"secret").Get(), VARIANT_FALSE,
                             VARIANT_FALSE, static_cast<InternetOpenMethods>(s.method), s.port, s.proxy, flag(s.passive),
                             flag(s.keepAlives), &connection) != S_OK)
            throw std::runtime_error("cannot connect as " + Narrow(s.user));
        return connection;
    }
    ComPtr<FileSystemLib> lib_ = FileSystemLib::Make();
    const std::filesystem::path mainRoot_ = HostPath("VOFS_FTP_ROOT");
};

}  // namespace vofs::testing
