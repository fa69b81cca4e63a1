// An FTP session's cost through the library against the same WinInet calls made directly,
// in the same run, rounds taken in turn: connect and log in, list a folder of 1,000
// entries, disconnect. The library's side is its FtpConnection (as FileSystemLib.FtpConnect
// makes it) and its internet layer's find wrappers, which fill the library's find records
// as remote listings do.
//   vofslib_ftp_bench.exe PORT FOLDER     a server on 127.0.0.1:PORT (user tester/secret)
//                                         whose FOLDER holds 1,000 entries
//     ftp.session.raw / ftp.session.vofslib   nanoseconds for the whole session

#include "common/platform_headers.h"
#include "ftp/ftp_connection.h"
#include "ftp/internet_session.h"
#include "items/find_data.h"

#include "bench_support.h"

#include <string>

namespace {

constexpr int kEntries = 1000;

int RawSession(INTERNET_PORT port, const std::string& folder) {
    const HINTERNET session = InternetOpenA("vofslib bench", INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr, 0);
    const HINTERNET connection =
        InternetConnectA(session, "127.0.0.1", port, "tester", "secret", INTERNET_SERVICE_FTP, 0, 0);
    if (!connection || !FtpSetCurrentDirectoryA(connection, folder.c_str())) Fail("raw connect", HRESULT_FROM_WIN32(GetLastError()));
    WIN32_FIND_DATAA entry;
    int entries = 0;
    const HINTERNET find = FtpFindFirstFileA(connection, "*.*", &entry, INTERNET_FLAG_RELOAD, 0);
    for (bool more = find != nullptr; more; more = InternetFindNextFileA(find, &entry)) ++entries;
    InternetCloseHandle(find);
    InternetCloseHandle(connection);
    InternetCloseHandle(session);
    return entries;
}

int LibrarySession(long port, const std::wstring& folder) {
    vofs::FtpConnection::Settings settings;
    settings.server = L"127.0.0.1";
    settings.userId = L"tester";
    settings.password.emplace() = L"secret";
    settings.openMethod = INTERNET_OPEN_TYPE_DIRECT;
    settings.port = port;
    const auto connection = vofs::FtpConnection::Connected(settings);
    vofs::Bstr path(folder);
    if (FAILED(connection->SetWorkingFolder(path.Get()))) Fail("library connect", E_FAIL);
    const auto entry = vofs::FindDataRecord::Make();
    int entries = 0;
    const HINTERNET find = vofs::internet::FindFirst(connection->ConnectionHandle(), L"*.*", *entry.Get(), INTERNET_FLAG_RELOAD, 0);
    for (bool more = vofs::internet::IsValid(find); more; more = vofs::internet::FindNext(find, *entry.Get())) ++entries;
    vofs::internet::Close(find);
    connection->Disconnect();
    return entries;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc < 3) return std::fprintf(stderr, "usage: vofslib_ftp_bench PORT FOLDER\n"), 2;
    CoInitialize(nullptr);
    const auto port = static_cast<INTERNET_PORT>(_wtoi(argv[1]));
    const std::wstring folder = argv[2];
    const std::string narrowFolder(folder.begin(), folder.end());
    if (RawSession(port, narrowFolder) < kEntries || LibrarySession(port, folder) < kEntries)
        Fail("a listing of 1,000 entries", E_FAIL);
    const PairTimes times = BestOfTurns(5, [&] { RawSession(port, narrowFolder); }, [&] { LibrarySession(port, folder); });
    std::printf("ftp.session.raw %.0f\nftp.session.vofslib %.0f\n", times.raw * 1e9, times.library * 1e9);
    CoUninitialize();
    return 0;
}
