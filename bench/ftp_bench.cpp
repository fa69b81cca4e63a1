// FTP through the library against the same WinInet calls made directly, in the same run,
// rounds taken in turn, on one connection per side:
//   - listing a folder of 1,000 entries: FtpConnection.EnumFolder walked to its end (its
//     private clone's connect and log-in included) against FtpFindFirstFile and
//     InternetFindNextFile on the open connection;
//   - a 64 MiB upload and download: FtpFileStream.WriteStream / ReadStream with 64 KiB
//     Byte arrays through the stream's interface against FtpOpenFile with
//     InternetWriteFile / InternetReadFile loops of the same size.
//   vofslib_ftp_bench.exe PORT FOLDER     a server on 127.0.0.1:PORT (user tester/secret)
//                                         whose FOLDER holds 1,000 entries
//     ftp.list.raw / ftp.list.vofslib, ftp.upload.raw / ..., ftp.download.raw / ...
//                                         nanoseconds

#include "common/byte_array.h"
#include "common/platform_headers.h"
#include "ftp/ftp_connection.h"
#include "ftp/ftp_file_stream.h"
#include "ftp/ftp_folder_enumerator.h"
#include "ftp/ftp_folder_item.h"

#include "bench_support.h"

#include <string>
#include <vector>

namespace {

constexpr int kEntries = 1000;
constexpr DWORD kChunk = 64 * 1024;
constexpr DWORD kFileSize = 64u << 20;
// A transfer takes a fraction of a second and varies with the disk (WinInet writes each
// download into its URL cache on both sides), so transfers take more rounds than listings.
constexpr int kTransferRounds = 7;

void Check(bool ok, const char* what) {
    if (!ok) Fail(what, HRESULT_FROM_WIN32(GetLastError()));
}

int RawList(HINTERNET connection, const std::string& folder) {
    Check(FtpSetCurrentDirectoryA(connection, folder.c_str()), "raw folder");
    WIN32_FIND_DATAA entry;
    int entries = 0;
    const HINTERNET find = FtpFindFirstFileA(connection, "*.*", &entry, INTERNET_FLAG_RELOAD, 0);
    for (bool more = find != nullptr; more; more = InternetFindNextFileA(find, &entry)) ++entries;
    InternetCloseHandle(find);
    return entries;
}

int LibraryList(vofs::FtpConnection& connection, const std::wstring& folder) {
    vofs::Bstr path(folder), filter(L"");
    vofs::ComPtr<_FtpFolderEnumerator> entries;
    if (FAILED(connection.EnumFolder(path.Get(), filter.Get(), entries.GetAddressOf()))) Fail("EnumFolder", E_FAIL);
    int count = 0;
    for (VARIANT_BOOL more = VARIANT_TRUE; more;) {
        ++count;
        if (FAILED(entries->GetNextItem(&more))) Fail("GetNextItem", E_FAIL);
    }
    return count;
}

void RawTransfer(HINTERNET connection, const char* name, bool upload, std::vector<uint8_t>& buffer) {
    const HINTERNET file = FtpOpenFileA(connection, name, upload ? GENERIC_WRITE : GENERIC_READ,
                                        FTP_TRANSFER_TYPE_BINARY | INTERNET_FLAG_RELOAD, 0);
    Check(file != nullptr, "raw open");
    DWORD total = 0;
    for (DWORD moved = 1; upload ? total < kFileSize : moved > 0; total += moved) {
        Check(upload ? InternetWriteFile(file, buffer.data(), kChunk, &moved)
                     : InternetReadFile(file, buffer.data(), kChunk, &moved),
              "raw transfer");
    }
    InternetCloseHandle(file);
    if (total != kFileSize) Fail("raw transfer size", E_FAIL);
}

// The item is looked up before (a member call of its own); the open and the loop are timed,
// as the raw side's.
void LibraryTransfer(vofs::FtpFolderItem& item, bool upload, vofs::Variant& chunk) {
    vofs::ComPtr<_FtpFileStream> stream;
    const auto access = static_cast<FileAccess>(upload ? GENERIC_WRITE : GENERIC_READ);
    if (FAILED(item.OpenStream(access, VARIANT_FALSE, VARIANT_FALSE, stream.GetAddressOf())))
        Fail("library open", E_FAIL);
    _FtpFileStream* face = stream.Get();
    DWORD total = 0;
    for (LONG moved = 1; upload ? total < kFileSize : moved > 0; total += static_cast<DWORD>(moved)) {
        const HRESULT result = upload ? face->WriteStream(chunk.Get(), 0, -1, &moved) : face->ReadStream(chunk.Get(), 0, -1, &moved);
        if (FAILED(result)) Fail("library transfer", result);
    }
    face->CloseStream();
    if (total != kFileSize) Fail("library transfer size", E_FAIL);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc < 3) return std::fprintf(stderr, "usage: vofslib_ftp_bench PORT FOLDER\n"), 2;
    CoInitialize(nullptr);
    const auto port = static_cast<INTERNET_PORT>(_wtoi(argv[1]));
    const std::wstring folder = argv[2];
    const std::string narrowFolder(folder.begin(), folder.end());

    const HINTERNET session = InternetOpenA("vofslib bench", INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr, 0);
    const HINTERNET raw = InternetConnectA(session, "127.0.0.1", port, "tester", "secret", INTERNET_SERVICE_FTP, 0, 0);
    Check(raw != nullptr, "raw connect");
    vofs::FtpConnection::Settings settings;
    settings.server = L"127.0.0.1";
    settings.userId = L"tester";
    settings.password.emplace() = L"secret";
    settings.openMethod = INTERNET_OPEN_TYPE_DIRECT;
    settings.port = port;
    const auto library = vofs::FtpConnection::Connected(settings);

    if (RawList(raw, narrowFolder) < kEntries || LibraryList(*library.Get(), folder) < kEntries)
        Fail("a listing of 1,000 entries", E_FAIL);
    const PairTimes list = BestOfTurns(3, [&] { RawList(raw, narrowFolder); }, [&] { LibraryList(*library.Get(), folder); });

    std::vector<uint8_t> buffer(kChunk, 0x5A);
    vofs::Variant chunk = vofs::ZeroByteArray(kChunk);
    const auto item = library->FolderItem(L"/library.bin");
    Check(FtpSetCurrentDirectoryA(raw, "/"), "raw root");
    const PairTimes upload = BestOfTurns(kTransferRounds, [&] { RawTransfer(raw, "raw.bin", true, buffer); },
                                         [&] { LibraryTransfer(*item.Get(), true, chunk); });
    Check(FtpSetCurrentDirectoryA(raw, "/"), "raw root");
    const PairTimes download = BestOfTurns(kTransferRounds, [&] { RawTransfer(raw, "raw.bin", false, buffer); },
                                           [&] { LibraryTransfer(*item.Get(), false, chunk); });
    std::printf("ftp.list.raw %.0f\nftp.list.vofslib %.0f\n", list.raw * 1e9, list.library * 1e9);
    std::printf("ftp.upload.raw %.0f\nftp.upload.vofslib %.0f\n", upload.raw * 1e9, upload.library * 1e9);
    std::printf("ftp.download.raw %.0f\nftp.download.vofslib %.0f\n", download.raw * 1e9, download.library * 1e9);
    library->Disconnect();
    InternetCloseHandle(raw);
    InternetCloseHandle(session);
    CoUninitialize();
    return 0;
}
