// FTP items, listings and streams against the test session's servers: trees copied to
// the server and back, what the server saw (its log) for items a listing handed out, the
// open retries and drops of the faulty users. Through the seam: a file size this
// platform's WinInet never reports, and a request that stays pending. The script client
// (scripts/ftp_items.vbs) walks, writes, reads and deletes a remote tree as a user does.

#include "common/byte_array.h"
#include "common/platform_api.h"
#include "ftp/ftp_sessions.h"
#include "items/folder_item.h"
#include "streams/folder_copy.h"

#include <chrono>
#include <map>

namespace vofs::testing {
namespace {

ComPtr<_FtpFolderItem> ItemOf(_FtpConnection* connection, const wchar_t* path) {
    ComPtr<_FtpFolderItem> item;
    EXPECT_EQ(connection->GetFolderItem(Bstr(path).Get(), &item), S_OK) << Narrow(path);
    return item;
}

ComPtr<_FtpFileStream> StreamOf(_FtpFolderItem* item, DWORD access, bool async = false) {
    ComPtr<_FtpFileStream> stream;
    EXPECT_EQ(item->OpenStream(static_cast<FileAccess>(access), VARIANT_FALSE, async ? VARIANT_TRUE : VARIANT_FALSE, &stream), S_OK);
    return stream;
}

ComPtr<_IFolderItem> AsFolderItem(IUnknown* item) {
    ComPtr<_IFolderItem> face;
    EXPECT_EQ(item->QueryInterface(IID_PPV_ARGS(&face)), S_OK);
    return face;
}

// Each file of a tree, with its bytes, by its path below the tree.
std::map<std::wstring, std::string> TreeContents(const std::filesystem::path& top) {
    std::map<std::wstring, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(top)) {
        const std::wstring below = std::filesystem::relative(entry.path(), top).wstring();
        files[below] = entry.is_directory() ? "(folder)" : FileContents(entry.path().wstring());
    }
    return files;
}

TEST_F(FtpSessions, ALocalTreeCopiedToTheServerAndBackArrivesByteForByte) {
    const ScratchFolder local;
    std::string binary(300000, '\0');
    for (size_t at = 0; at < binary.size(); ++at) binary[at] = static_cast<char>(at * 7 % 251);
    for (const wchar_t* folder : {L"tree", L"tree\\nested", L"tree\\nested\\deeper", L"tree\\empty"}) local.MakeFolder(folder);
    local.WriteFile(L"tree\\one.bin", binary);
    local.WriteFile(L"tree\\nested\\deeper\\two.txt", "two\r\n");
    local.WriteFile(L"tree\\nested\\zero.txt");
    std::filesystem::remove_all(mainRoot_ / "copied");

    const ComPtr<_FtpConnection> connection = Connected({});

    CopyFolderTree(static_cast<_IFolderItem*>(FolderItem::Open(local / L"tree").Get()),
                   AsFolderItem(ItemOf(connection.Get(), L"/copied").Get()).Get(), true);
    CopyFolderTree(AsFolderItem(ItemOf(connection.Get(), L"/copied").Get()).Get(),
                   static_cast<_IFolderItem*>(FolderItem::Open(local / L"back").Get()), true);
    EXPECT_EQ(TreeContents(mainRoot_ / "copied"), TreeContents(local / L"tree"));
    EXPECT_EQ(TreeContents(local / L"back"), TreeContents(local / L"tree"));
}

// Items handed out by a listing answer from the entry; Refresh asks the server again.
TEST_F(FtpSessions, ListedItemsAnswerWithoutAskingTheServerUntilRefreshed) {
    std::filesystem::create_directories(mainRoot_ / "listing");
    WriteBytes((mainRoot_ / "listing" / "five.txt").wstring(), "12345");
    const ServerLog log("watch-items");
    const ComPtr<_FtpConnection> connection = Connected({.user = L"watch-items"});
    ComPtr<_FtpFolderEnumerator> entries;
    ASSERT_EQ(connection->EnumFolder(Bstr(L"/listing").Get(), Bstr(L"five*").Get(), &entries), S_OK);
    ComPtr<_FtpFolderItem> item;
    ASSERT_EQ(entries->GetFolderItem(&item), S_OK);
    const long listings = log.Sent("LIST"), commands = log.Sent("");
    Variant size;
    ASSERT_EQ(item->get_Size(size.Get()), S_OK);
    EXPECT_EQ(PreciseOf(size), 5u);
    EXPECT_FALSE(ValueOf<VARIANT_BOOL>(item.Get(), &_FtpFolderItem::get_IsFolder));
    EXPECT_EQ(log.Sent(""), commands);
    EXPECT_EQ(item->Refresh(), S_OK);
    EXPECT_EQ(log.Sent("LIST"), listings + 1);
}

// A refused transfer is opened again, four attempts in all; "550" ends the attempts at once.
// A refusal ("426" included) leaves the session, and the folder the open made current, as they were.
TEST_F(FtpSessions, RefusedTransfersAreRetriedFourTimesInAll) {
    std::filesystem::create_directories(mainRoot_ / "retries");
    WriteBytes((mainRoot_ / "retries" / "retried.txt").wstring(), "retried");
    struct Case { const wchar_t* user; const wchar_t* path; HRESULT expected; long attempts; };
    for (const Case& c : {Case{L"fault-file425x3", L"/retries/retried.txt", S_OK, 4}, {L"fault-file426x3", L"/retries/retried.txt", S_OK, 4},
                          {L"fault-file425x4", L"/retries/retried.txt", System(12029), 4}, {L"watch-retries", L"/retries/none.txt", System(2), 1},
                          {L"fault-file426x4", L"/retries/retried.txt", System(12030), 4}}) {
        const ServerLog log(Narrow(c.user));
        const ComPtr<_FtpConnection> connection = Connected({.user = c.user});
        const ComPtr<_FtpFolderItem> item = ItemOf(connection.Get(), c.path);
        ComPtr<_FtpFileStream> stream;
        const ErrorRecord error = TakeError(item->OpenStream(static_cast<FileAccess>(GENERIC_READ), VARIANT_FALSE, VARIANT_FALSE, &stream));
        EXPECT_EQ(error.number, c.expected) << Narrow(c.user);
        EXPECT_EQ(log.Sent("RETR"), c.attempts) << Narrow(c.user);
        EXPECT_EQ(log.Sent("PASS"), 1) << Narrow(c.user);
        if (FAILED(c.expected)) {
            EXPECT_EQ(error.source, L"FtpFolderItem");
            EXPECT_EQ(TextOf(connection.Get(), &_FtpConnection::GetWorkingFolder), L"/retries") << Narrow(c.user);
        }
    }
}

// A download whose control connection is dropped fails clearly, and the connection is made
// again for the next call.
TEST_F(FtpSessions, ADroppedTransferFailsAndTheConnectionRecovers) {
    WriteBytes((mainRoot_ / "dropped.txt").wstring(), "dropped");
    const ServerLog log("fault-drop10");
    const ComPtr<_FtpConnection> connection = Connected({.user = L"fault-drop10"});
    const ComPtr<_FtpFolderItem> item = ItemOf(connection.Get(), L"/dropped.txt");
    ComPtr<_FtpFileStream> stream;
    EXPECT_EQ(TakeError(item->OpenStream(static_cast<FileAccess>(GENERIC_READ), VARIANT_FALSE, VARIANT_FALSE, &stream)).number,
              System(ERROR_INTERNET_CONNECTION_RESET));
    EXPECT_EQ(log.Sent("(dropped)"), 1);
    EXPECT_EQ(log.Sent("PASS"), 2);  // made again (this user's new session drops its own tenth command)
    EXPECT_TRUE(ValueOf<VARIANT_BOOL>(connection.Get(), &_FtpConnection::get_IsConnected));
}

// A refresh that finds the server gone makes the connection again; the item keeps
// answering, and a missing item answers its data from an empty record.
TEST_F(FtpSessions, AnItemWhoseRefreshFailedAnswersAfterTheReconnection) {
    WriteBytes((mainRoot_ / "kept.txt").wstring(), "kept");
    const ComPtr<_FtpFolderItem> item = ItemOf(Connected({.user = L"fault-drop8"}).Get(), L"/kept.txt");
    EXPECT_EQ(TakeError(item->Refresh()).number, System(ERROR_INTERNET_CONNECTION_RESET));
    Variant size;
    EXPECT_EQ(item->get_Size(size.Get()), S_OK);
    EXPECT_EQ(PreciseOf(size), 4u);
    const ComPtr<_FtpFolderItem> missing = ItemOf(Connected({}).Get(), L"/none.txt");
    EXPECT_EQ(missing->get_Size(size.Get()), S_OK);
    EXPECT_EQ(PreciseOf(size), 0u);
    EXPECT_FALSE(ValueOf<VARIANT_BOOL>(missing.Get(), &_FtpFolderItem::get_IsFolder));
}

// Item lookups ask the server afresh and keep nothing in WinInet's cache (&H84000000).
DWORD lookupFlags = 0;
HINTERNET WINAPI RecordedFind(HINTERNET connection, LPCSTR pattern, WIN32_FIND_DATAA* data, DWORD flags, DWORD_PTR context) {
    return lookupFlags = flags, FtpFindFirstFileA(connection, pattern, data, flags, context);
}

TEST_F(FtpSessions, ItemLookupsReloadWithoutWritingTheCache) {
    const ComPtr<_FtpConnection> connection = Connected({});
    const ApiOverride<&PlatformApi::FtpFindFirstFileA> find{&RecordedFind};
    ItemOf(connection.Get(), L"/kept.txt");
    EXPECT_EQ(lookupFlags, 0x84000000u);
}

// Moves 64 KiB chunks through the stream until it ends or fails; the bytes moved and the
// failure (S_OK when it ended).
std::pair<long, HRESULT> MoveAll(_FtpFileStream* stream, bool reading, long limit) {
    Variant buffer = ZeroByteArray(65536);
    long total = 0;
    for (LONG moved = 1; moved > 0 && total < limit; total += moved) {
        const HRESULT result = reading ? stream->ReadStream(buffer.Get(), 0, -1, &moved)
                                       : stream->WriteStream(buffer.Get(), 0, -1, &moved);
        if (FAILED(result)) return {total, TakeError(result).number};
    }
    return {total, S_OK};
}

// A server gone in the middle of a transfer: neither the download nor the listing is taken
// for its end (WinInet reports the closed data connection as one), the upload fails, and
// the connection is made again for the next call. A file that shrank since it was listed
// still reads to its end.
TEST_F(FtpSessions, ATransferCutMidwayFailsAndTheConnectionRecovers) {
    const long size = 1000000;
    WriteBytes((mainRoot_ / "cut.bin").wstring(), std::string(size, 'c'));
    const ComPtr<_FtpConnection> connection = Connected({.user = L"fault-cut100000"});
    for (const bool reading : {true, false}) {
        // An upload may fill the socket buffers (several MB on loopback) before the cut
        // shows, so it is offered far more than those hold.
        const auto [moved, error] = MoveAll(StreamOf(ItemOf(connection.Get(), reading ? L"/cut.bin" : L"/up.bin").Get(),
                                                     reading ? GENERIC_READ : GENERIC_WRITE).Get(), reading, reading ? size : 64 * size);
        EXPECT_EQ(HRESULT_FACILITY(error), FACILITY_WIN32) << reading;
        if (reading) {
            EXPECT_LT(moved, size);
            EXPECT_EQ(error, System(ERROR_INTERNET_CONNECTION_RESET));
        }
        EXPECT_TRUE(ValueOf<VARIANT_BOOL>(connection.Get(), &_FtpConnection::get_IsConnected));
        EXPECT_TRUE(ItemOf(connection.Get(), L"/cut.bin")) << reading;
    }

    std::filesystem::create_directories(mainRoot_ / "many");
    for (int entry = 0; entry < 300; ++entry) WriteBytes((mainRoot_ / "many" / std::to_string(entry)).wstring(), "");
    ComPtr<_FtpFolderEnumerator> entries;
    ASSERT_EQ(Connected({.user = L"fault-cut2000"})->EnumFolder(Bstr(L"/many").Get(), Bstr(L"").Get(), &entries), S_OK);
    long listed = 1;
    HRESULT step = S_OK;
    for (VARIANT_BOOL more = VARIANT_TRUE; more && SUCCEEDED(step = entries->GetNextItem(&more)); listed += more ? 1 : 0) {
    }
    EXPECT_LT(listed, 300);
    EXPECT_EQ(TakeError(step).number, System(ERROR_INTERNET_CONNECTION_RESET));

    const ComPtr<_FtpFolderItem> shrunk = ItemOf(Connected({}).Get(), L"/cut.bin");
    WriteBytes((mainRoot_ / "cut.bin").wstring(), "shorter");
    EXPECT_EQ(MoveAll(StreamOf(shrunk.Get(), GENERIC_READ).Get(), true, size), std::make_pair(7L, S_OK));
}

DWORD WINAPI FiveAndFourGigabytes(HINTERNET, DWORD* high) { return *high = 1, 5; }
BOOL WINAPI StaysPending(HINTERNET, void*, DWORD, DWORD*) { return SetLastError(ERROR_IO_PENDING), FALSE; }

TEST_F(FtpSessions, OpenFileSizeAndAPendingAsynchronousRead) {
    WriteBytes((mainRoot_ / "sized.txt").wstring(), "sized");
    const ComPtr<_FtpFileStream> stream = StreamOf(ItemOf(Connected({}).Get(), L"/sized.txt").Get(), GENERIC_READ, true);
    ComPtr<_FtpOpenFile> file;
    ASSERT_EQ(stream->get_OpenFile(&file), S_OK);
    {
        const ApiOverride<&PlatformApi::FtpGetFileSize> size{&FiveAndFourGigabytes};
        Variant value;
        ASSERT_EQ(file->get_Size(value.Get()), S_OK);
        EXPECT_EQ(PreciseOf(value), (uint64_t{1} << 32) + 5);
    }
    EXPECT_EQ(ValueOf<LONG>(file.Get(), &_FtpOpenFile::GetIoBufferSizeHint), 8192);

    const ApiOverride<&PlatformApi::InternetReadFile> read{&StaysPending};
    Variant buffer = ZeroByteArray(16);
    EXPECT_EQ(ValueOf<LONG>(stream.Get(), &_FtpFileStream::ReadStream, buffer.Get(), 0, -1), 0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(ValueOf<VARIANT_BOOL>(stream.Get(), &_FtpFileStream::AsyncWaitOnIo, 500, QsAllInput));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(450));
    EXPECT_TRUE(ValueOf<VARIANT_BOOL>(stream.Get(), &_FtpFileStream::get_AsyncIoPending));
    LONG moved = 0;
    EXPECT_EQ(TakeError(stream->ReadStream(buffer.Get(), 0, -1, &moved)).number, System(ERROR_IO_PENDING));
    EXPECT_EQ(stream->CloseStream(), S_OK);
    Variant closed;
    EXPECT_EQ(TakeError(file->get_Size(closed.Get())).number, RunTime(5));
}

}  // namespace
}  // namespace vofs::testing
