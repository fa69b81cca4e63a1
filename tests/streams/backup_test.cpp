// Backup-format streams: the real multi-stream path through a stand-in for the platform's
// backup interface that serves and records the documented format (short content reads,
// a name, the security bit, a sparse stream past 4 GB), and under Wine, which answers
// "not supported", the emulated path on real files.

#include "common/platform_api.h"
#include "facade/file_system_lib.h"
#include "items/folder_item.h"
#include "streams/backup_format.h"
#include "streams/backup_stream_reader.h"
#include "streams/backup_stream_writer.h"
#include "support/test_support.h"

#include <tuple>
#include <vector>

namespace vofs::testing {
namespace {

using backup_format::StreamHeader;

// The stand-in's streams: each a header with its name, then content it makes up.
struct Piece {
    std::vector<uint8_t> header;
    uint64_t content;
};
std::vector<Piece> pieces;
size_t piece = 0;
uint64_t at = 0;  // into the current piece: its header, then its content
std::vector<uint64_t> seeks;
std::vector<uint8_t> written;
std::vector<bool> securityFlags;  // per written buffer
bool released = false;

uint8_t ContentByte(size_t index, uint64_t offset) { return static_cast<uint8_t>(index * 31 + offset); }

Piece MakePiece(uint32_t id, uint32_t attributes, uint64_t size, const std::u16string& name = u"") {
    Piece made{std::vector<uint8_t>(backup_format::kHeaderSize), size};
    backup_format::EncodeHeader({id, attributes, size, static_cast<uint32_t>(name.size() * 2)},
                                std::span<uint8_t, backup_format::kHeaderSize>(made.header));
    for (char16_t c : name) made.header.insert(made.header.end(), {static_cast<uint8_t>(c), static_cast<uint8_t>(c >> 8)});
    return made;
}

BOOL WINAPI ServeBackup(HANDLE, LPBYTE buffer, DWORD count, LPDWORD read, BOOL abort, BOOL, LPVOID* context) {
    *read = 0;
    if (abort) return released = true, *context = nullptr, TRUE;
    *context = &pieces;
    while (piece < pieces.size() && at >= pieces[piece].header.size() + pieces[piece].content) ++piece, at = 0;
    if (piece == pieces.size()) return TRUE;
    const Piece& current = pieces[piece];
    if (at < current.header.size()) {
        *read = static_cast<DWORD>(std::min<uint64_t>(count, current.header.size() - at));
        std::copy_n(current.header.begin() + static_cast<ptrdiff_t>(at), *read, buffer);
    } else {  // content comes three bytes at a time at most
        const uint64_t offset = at - current.header.size();
        *read = static_cast<DWORD>(std::min<uint64_t>({count, 3, current.content - offset}));
        for (DWORD i = 0; i < *read; ++i) buffer[i] = ContentByte(piece, offset + i);
    }
    at += *read;
    return TRUE;
}
BOOL WINAPI SeekBackup(HANDLE, DWORD low, DWORD high, LPDWORD movedLow, LPDWORD movedHigh, LPVOID*) {
    const uint64_t wanted = uint64_t{high} << 32 | low;
    const uint64_t left = pieces[piece].header.size() + pieces[piece].content - at;
    const uint64_t moved = std::min(wanted, left);
    seeks.push_back(wanted), at += moved;
    *movedLow = static_cast<DWORD>(moved), *movedHigh = static_cast<DWORD>(moved >> 32);
    return moved == wanted;
}
BOOL WINAPI RecordBackup(HANDLE, LPBYTE buffer, DWORD count, LPDWORD done, BOOL abort, BOOL security, LPVOID* context) {
    if (abort) return released = true, *context = nullptr, TRUE;
    *context = &written;
    written.insert(written.end(), buffer, buffer + count);
    if (count) securityFlags.push_back(security != FALSE);
    return *done = count, TRUE;
}
BOOL WINAPI NoBackup(HANDLE, LPBYTE, DWORD, LPDWORD, BOOL, BOOL, LPVOID*) {
    ADD_FAILURE() << "a backup call in the emulated mode";
    return FALSE;
}

class Backup : public ::testing::Test {
protected:
    void SetUp() override {
        piece = 0, at = 0, released = false;
        seeks.clear(), written.clear(), securityFlags.clear();
        pieces = {MakePiece(1, 0, 5), MakePiece(4, 0, 3, u":ads:$DATA"), MakePiece(3, 2, 4), MakePiece(9, 8, (1ULL << 32) + 2)};
        scratch_.WriteFile(L"file.bin", "x");
    }
    ComPtr<BackupStreamReader> Reader(LONG bufferSize = 0) {
        ComPtr<_BackupStreamReader> reader;
        EXPECT_EQ(FolderItem::Open(scratch_ / L"file.bin")->OpenBackupStreamReader(VARIANT_FALSE, bufferSize, VARIANT_FALSE, &reader), S_OK);
        return ComPtr<BackupStreamReader>(ImplementationOf<BackupStreamReader>(reader.Get()));
    }
    ComPtr<_BackupStreamWriter> Writer(const wchar_t* name) {
        ComPtr<_BackupStreamWriter> writer;
        EXPECT_EQ(FolderItem::Open(scratch_ / name)->OpenBackupStreamWriter(VARIANT_FALSE, VARIANT_FALSE, &writer), S_OK);
        return writer;
    }
    static std::string Header(BackupStreamReader* reader) {
        Variant size;
        reader->get_StreamSize(size.Get());
        return std::to_string(ValueOf<FileStreamTypes>(reader, &BackupStreamReader::get_StreamType)) + " " +
               Narrow(TextOf(reader, &BackupStreamReader::get_StreamName)) + " " + Narrow(ToString(*size.Get())) + " " +
               std::to_string(ValueOf<VARIANT_BOOL>(reader, &BackupStreamReader::get_ContainsSecurity) != 0) +
               std::to_string(ValueOf<VARIANT_BOOL>(reader, &BackupStreamReader::get_IsSparse) != 0);
    }

    ScratchFolder scratch_;
};

TEST_F(Backup, HeadersInOrderAndUnreadContentSkipped) {
    ApiOverride<&PlatformApi::BackupRead> read(&ServeBackup);
    ApiOverride<&PlatformApi::BackupSeek> seek(&SeekBackup);
    ComPtr<BackupStreamReader> reader = Reader(-5);
    EXPECT_EQ(ValueOf<LONG>(reader.Get(), &BackupStreamReader::get_BufferSize), 131072);
    std::vector<std::string> headers = {Header(reader.Get())};
    // The data stream read whole in short reads, the security stream in part.
    for (LONG expected : {3, 2, 0}) EXPECT_EQ(ValueOf<LONG>(reader.Get(), &BackupStreamReader::ReadStream), expected);
    Variant counted;
    reader->get_StreamBytesRead(counted.Get());
    EXPECT_EQ(PreciseOf(counted), 5u);
    for (int next = 0; next < 3; ++next) {
        ASSERT_EQ(ValueOf<VARIANT_BOOL>(reader.Get(), &BackupStreamReader::GetNextStream), VARIANT_TRUE);
        headers.push_back(Header(reader.Get()));
        if (next == 1) {
            EXPECT_EQ(ValueOf<LONG>(reader.Get(), &BackupStreamReader::ReadStream), 3);
        }
    }
    EXPECT_EQ(ValueOf<VARIANT_BOOL>(reader.Get(), &BackupStreamReader::GetNextStream), VARIANT_FALSE);
    EXPECT_EQ(headers, (std::vector<std::string>{"1  5 00", "4 :ads:$DATA 3 00", "3  4 10", "9  4294967298 01"}));
    EXPECT_EQ(seeks, (std::vector<uint64_t>{0, 3, 1, (1ULL << 32) + 2})) << "the unread rest of each stream";
    EXPECT_EQ(ValueOf<FileStreamTypes>(reader.Get(), &BackupStreamReader::get_StreamType), 0);
    EXPECT_EQ(reader->CloseStream(), S_OK);
    EXPECT_TRUE(released);
    LONG count;
    EXPECT_EQ(Raised(TakeError(reader->ReadStream(&count))), Raised(L"BackupStreamReader", RunTime(5))) << "no context";
}

TEST_F(Backup, AReaderToWriterCopyDeliversEveryHeaderBeforeItsContent) {
    pieces.pop_back();
    ApiOverride<&PlatformApi::BackupRead> read(&ServeBackup);
    ApiOverride<&PlatformApi::BackupWrite> write(&RecordBackup);
    ComPtr<BackupStreamReader> reader = Reader(2);
    ComPtr<_BackupStreamWriter> writer = Writer(L"copy.bin");
    for (bool more = true; more; more = ValueOf<VARIANT_BOOL>(reader.Get(), &BackupStreamReader::GetNextStream)) {
        do {
            EXPECT_GT(ValueOf<LONG>(writer.Get(), &_BackupStreamWriter::WriteStream, reader.Get()), 0);
        } while (ValueOf<LONG>(reader.Get(), &BackupStreamReader::ReadStream) > 0);
    }
    std::vector<uint8_t> expected;
    for (size_t index = 0; index < pieces.size(); ++index) {
        expected.insert(expected.end(), pieces[index].header.begin(), pieces[index].header.end());
        for (uint64_t offset = 0; offset < pieces[index].content; ++offset) expected.push_back(ContentByte(index, offset));
    }
    EXPECT_EQ(written, expected);
    EXPECT_EQ(std::count(securityFlags.begin(), securityFlags.end(), true), 3) << "the security stream's header and content";
    Variant counted;
    writer->get_StreamBytesWritten(counted.Get());
    EXPECT_EQ(PreciseOf(counted), 24u) << "the last stream's header and content";
    EXPECT_EQ(writer->CloseStream() | writer->CloseStream(), S_OK);
    EXPECT_TRUE(released);
}

// Wine answers "not supported": a file copied through reader and writer all the same.
TEST_F(Backup, WithoutABackupInterfaceTheContentIsCopiedThroughTheByteStream) {
    std::string content(300 * 1024, '\0');
    for (size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 7 + i / 1000);
    scratch_.WriteFile(L"file.bin", content);
    ComPtr<BackupStreamReader> reader = Reader();
    EXPECT_EQ(Header(reader.Get()), "1  307200 00");
    EXPECT_EQ(ValueOf<LONG>(reader.Get(), &BackupStreamReader::get_BufferContentLength), 131072) << "read at open";
    ComPtr<_BackupStreamWriter> writer = Writer(L"copy.bin");
    do {
        ValueOf<LONG>(writer.Get(), &_BackupStreamWriter::WriteStream, reader.Get());
    } while (ValueOf<LONG>(reader.Get(), &BackupStreamReader::ReadStream) > 0);
    EXPECT_EQ(ValueOf<VARIANT_BOOL>(reader.Get(), &BackupStreamReader::GetNextStream), VARIANT_FALSE);
    writer->CloseStream();
    EXPECT_EQ(FileContents(scratch_ / L"copy.bin"), content);
    LONG count;
    EXPECT_EQ(Raised(TakeError(writer->WriteStream(reader.Get(), &count))), Raised(L"BackupStreamWriter", RunTime(5)))
        << "an empty reader buffer";
}

TEST_F(Backup, UnbufferedOpenFilesAreRefused) {
    ComPtr<_FileStream> stream;
    ASSERT_EQ(FolderItem::Open(scratch_ / L"file.bin")->OpenStream(OpenExisting, AccessRead, ShareRead, NoBuffering, &stream), S_OK);
    ComPtr<_OpenFile> opened;
    ComPtr<_IOpenFile> file;
    stream->get_OpenFile(&opened);
    opened.As(&file);
    EXPECT_EQ(Raised(CaughtError([&] { BackupStreamReader::On(file, nullptr, 0, false); })), Raised(L"BackupStreamReader", RunTime(5)));
}

TEST(Win98Backup, TheEmulatedPathMakesNoBackupCalls) {
    if (IsPlatformNT()) GTEST_SKIP() << "runs under the win98 program version only (cpp_tests_win98)";
    ApiOverride<&PlatformApi::BackupRead> read(&NoBackup);
    ApiOverride<&PlatformApi::BackupWrite> write(&NoBackup);
    ScratchFolder scratch;
    scratch.WriteFile(L"a.txt", "emulated");
    const ComPtr<FileSystemLib> library = FileSystemLib::Make();
    ComPtr<_BackupStreamReader> reader;
    ComPtr<_BackupStreamWriter> writer;
    ASSERT_EQ(library->OpenBackupStreamReader(Bstr(scratch / L"a.txt").Get(), FileMode{}, FileAccess{}, FileShare{}, 4, VARIANT_FALSE, &reader), S_OK);
    ASSERT_EQ(library->OpenBackupStreamWriter(Bstr(scratch / L"b.txt").Get(), FileMode{}, FileAccess{}, FileShare{}, &writer), S_OK);
    do {
        ValueOf<LONG>(writer.Get(), &_BackupStreamWriter::WriteStream, reader.Get());
    } while (ValueOf<LONG>(reader.Get(), &_BackupStreamReader::ReadStream) > 0);
    writer->CloseStream();
    EXPECT_EQ(FileContents(scratch / L"b.txt"), "emulated");
}

}  // namespace
}  // namespace vofs::testing
