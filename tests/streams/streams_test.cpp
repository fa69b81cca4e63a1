// Streams over real files under Wine, and through the platform-call seam where a file
// cannot show the case: sizes past 2^31, a transfer that outlasts the wait, a time
// written from a precise value.

#include "common/byte_array.h"
#include "common/low_memory.h"
#include "common/platform_api.h"
#include "common/thread_state.h"
#include "facade/file_system_lib.h"
#include "items/folder_item.h"
#include "streams/file_stream.h"
#include "streams/open_file.h"
#include "streams/text_stream.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstring>

namespace vofs::testing {
namespace {

// Fakes of the platform calls, with what they saw.
DWORD sizeHigh = 0;
FILETIME writtenTime{};
OVERLAPPED* started = nullptr;
LPOVERLAPPED_COMPLETION_ROUTINE routine = nullptr;

DWORD WINAPI ThreeGigabytes(HANDLE, DWORD* high) { return *high = sizeHigh, 0xC0000000; }
BOOL WINAPI RecordWriteTime(HANDLE, const FILETIME*, const FILETIME*, const FILETIME* written) { return writtenTime = *written, TRUE; }
BOOL WINAPI StartNeverEnding(HANDLE, void*, DWORD, OVERLAPPED* overlapped, LPOVERLAPPED_COMPLETION_ROUTINE done) {
    started = overlapped, routine = done;
    SetLastError(ERROR_IO_PENDING);
    return TRUE;
}
DWORD WINAPI SleepThrough(DWORD, BOOL) { return 0; }
HANDLE WINAPI NoWideOpen(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) {
    ADD_FAILURE() << "a wide call on a platform without them";
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return INVALID_HANDLE_VALUE;
}
int writes = 0;
BOOL WINAPI DiskFull(HANDLE, const void*, DWORD, DWORD* written, OVERLAPPED*) {
    return ++writes, *written = 0, SetLastError(ERROR_DISK_FULL), FALSE;
}
BOOL WINAPI CountedWrite(HANDLE file, const void* data, DWORD size, DWORD* written, OVERLAPPED* overlapped) {
    return ++writes, WriteFile(file, data, size, written, overlapped);
}

class Streams : public ::testing::Test {
protected:
    // A stream over `name`, opened with the item's OpenStream.
    ComPtr<_FileStream> Open(const std::wstring& name, long mode = OpenExisting, long access = AccessReadWrite,
                             long flags = 0) {
        ComPtr<_FileStream> stream;
        EXPECT_EQ(FolderItem::Open(scratch_ / name)->OpenStream(static_cast<FileMode>(mode), static_cast<FileAccess>(access),
                                                                 ShareRead, static_cast<OpenFileFlags>(flags), &stream),
                  S_OK);
        return stream;
    }
    ComPtr<_TextStream> OpenText(const std::wstring& name, long mode) {
        ComPtr<_TextStream> text;
        const HRESULT result = FolderItem::Open(scratch_ / name)->OpenTextStream(static_cast<TextStreamIoMode>(mode), static_cast<FileShare>(3), &text);
        return SUCCEEDED(result) ? text : nullptr;
    }
    static LONG Read(_FileStream* stream, Variant& buffer, LONG offset, LONG count, HRESULT expected = S_OK) {
        LONG got = -7;
        EXPECT_EQ(stream->ReadStream(buffer.Get(), offset, count, &got), expected);
        return got;
    }
    static std::wstring Line(_TextStream* text) {
        Bstr line;
        EXPECT_EQ(text->ReadLine(line.Receive()), S_OK);
        return std::wstring(line.View());
    }

    ScratchFolder scratch_;
};

TEST_F(Streams, ByteArraysAndAddressesFollowTheBufferContract) {
    scratch_.WriteFile(L"ten.bin", "0123456789");
    ComPtr<_FileStream> stream = Open(L"ten.bin");
    Variant four = ZeroByteArray(4);
    EXPECT_EQ(Read(stream.Get(), four, 0, -1), 4);
    Read(stream.Get(), four, 2, 3, RunTime(5));
    EXPECT_EQ(TakeError(RunTime(5)).source, L"FileStream");

    SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};  // two dimensions
    Variant square;
    V_VT(square.Get()) = VT_ARRAY | VT_UI1, V_ARRAY(square.Get()) = SafeArrayCreate(VT_UI1, 2, bounds);
    Read(stream.Get(), square, 0, -1, RunTime(5));

    // An address given as a Long: a read adds the offset, a write does not.
    auto* memory = static_cast<char*>(AllocateLow(8));
    std::memset(memory, '-', 8);
    Variant address = LongValue(static_cast<LONG>(reinterpret_cast<intptr_t>(memory)));
    EXPECT_EQ(Read(stream.Get(), address, 2, 3), 3);
    EXPECT_EQ(std::string(memory, 8), "--456---");
    LONG written = 0;
    Variant wide;  // a LongLong (64-bit VBA's LongPtr) is an address too
    V_VT(wide.Get()) = VT_I8, V_I8(wide.Get()) = reinterpret_cast<intptr_t>(memory);
    EXPECT_EQ(stream->WriteStream(wide.Get(), 5, 2, &written), S_OK);
    Variant start = LongValue(0);
    stream->SeekPosition(*start.Get(), BeginOfFile);
    Variant ten = ZeroByteArray(10);
    EXPECT_EQ(Read(stream.Get(), ten, 0, -1), 10);
    ArrayData data(V_ARRAY(ten.Get()));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(data.Data()), 10), "0123456--9");
    FreeLow(memory);
}

TEST_F(Streams, SizesAndTimesKeepTheirShapes) {
    scratch_.WriteFile(L"f.bin", "x");
    ComPtr<_FileStream> stream = Open(L"f.bin");
    ComPtr<_OpenFile> file;
    stream->get_OpenFile(&file);
    ApiOverride<&PlatformApi::GetFileSize> size(&ThreeGigabytes);
    for (DWORD h : {0u, 1u}) {
        sizeHigh = h;
        Variant value;
        EXPECT_EQ(file->get_Size(value.Get()), S_OK);
        EXPECT_EQ(value.Type(), h ? VT_DECIMAL : VT_I4) << "3 GB is a negative Long, above 4 GB a Decimal";
        if (!h) {
            EXPECT_EQ(V_I4(value.Get()), static_cast<LONG>(0xC0000000));
        }
    }
    ComPtr<_TextStream> text = OpenText(L"f.bin", ForReading);
    ASSERT_TRUE(text);
    Bstr rest;
    EXPECT_EQ(text->ReadToEnd(rest.Receive()), RunTime(5)) << "a remainder of 4 GB or more";

    // A precise time passed back keeps only its low word (the Decimal's top word is 0).
    ApiOverride<&PlatformApi::SetFileTime> setTime(&RecordWriteTime);
    Variant precise;
    file->get_PreciseLastWriteTime(precise.Get());
    EXPECT_EQ(file->SetLastWriteTime(*precise.Get()), S_OK);
    EXPECT_EQ(writtenTime.dwHighDateTime, 0u);
    EXPECT_EQ(file->SetCreationTime(*StringValue(L"no date").Get()), RunTime(5));
    EXPECT_EQ(TakeError(RunTime(5)).source, L"MFileSystemLib");
}

TEST_F(Streams, AnOverlappedTransferOutlivesItsStream) {
    scratch_.WriteFile(L"a.bin", "abc");
    ApiOverride<&PlatformApi::ReadFileEx> read(&StartNeverEnding);
    ApiOverride<&PlatformApi::SleepEx> sleep(&SleepThrough);  // the 5 s pass
    ComPtr<_FileStream> stream = Open(L"a.bin", OpenExisting, AccessRead, FILE_FLAG_OVERLAPPED);
    Variant buffer = ZeroByteArray(100);
    EXPECT_EQ(Read(stream.Get(), buffer, 50, 1), 0) << "the whole array, whatever Offset and Count say";
    EXPECT_FALSE(ValueOf<VARIANT_BOOL>(stream.Get(), &_FileStream::AsyncWaitOnIo, 0, QsAllInput));
    EXPECT_TRUE(ValueOf<VARIANT_BOOL>(stream.Get(), &_FileStream::get_AsyncIoPending));
    EXPECT_EQ(ValueOf<LONG>(stream.Get(), &_FileStream::get_AsyncBytesToTransfer), 100);
    Read(stream.Get(), buffer, 0, -1, System(ERROR_IO_PENDING));
    EXPECT_EQ(stream->AsyncCancelIo(), S_OK);
    EXPECT_TRUE(ValueOf<VARIANT_BOOL>(stream.Get(), &_FileStream::get_AsyncIoPending)) << "until the routine has run";
    stream.Reset();  // released while pending: the record stays for the routine
    ASSERT_TRUE(routine);
    routine(ERROR_OPERATION_ABORTED, 0, started);
}

TEST_F(Streams, OverlappedReadsMoveOnByThemselvesToTheEnd) {
    scratch_.WriteFile(L"e.bin", "abcdefgh");
    ComPtr<_FileStream> stream = Open(L"e.bin", OpenExisting, AccessRead, FILE_FLAG_OVERLAPPED);
    Variant buffer = ZeroByteArray(4), start = LongValue(0);
    for (const std::string expected : {"abcd", "efgh", ""}) {
        Read(stream.Get(), buffer, 0, -1);
        stream->SeekPosition(*start.Get(), BeginOfFile);  // no effect on overlapped transfers
        ValueOf<VARIANT_BOOL>(stream.Get(), &_FileStream::AsyncWaitOnIo, 0, QsAllInput);
        Variant got;
        stream->GetAsyncIoBuffer(got.Get());
        const ArrayData data(V_ARRAY(got.Get()));
        EXPECT_EQ(std::string(reinterpret_cast<char*>(data.Data()), data.Count())
                      .substr(0, ValueOf<LONG>(stream.Get(), &_FileStream::get_AsyncBytesTransfered)), expected);
        EXPECT_EQ(ValueOf<LONG>(stream.Get(), &_FileStream::get_AsyncErrorNumber), expected.empty() ? ERROR_HANDLE_EOF : 0);
    }
}

TEST_F(Streams, LinesAreFoundChunkByChunk) {
    scratch_.WriteFile(L"l.txt", std::string(4095, 'a') + "\r\nb" + std::string(5000, 'c'));
    ComPtr<_TextStream> text = OpenText(L"l.txt", ForReading);
    ASSERT_TRUE(text);
    EXPECT_EQ(Line(text.Get()), std::wstring(4095, L'a'));
    EXPECT_EQ(Line(text.Get()), L"") << "a CR at a chunk's last byte ends its line alone";
    EXPECT_EQ(Line(text.Get()), L"b" + std::wstring(5000, L'c'));
    EXPECT_FALSE(OpenText(L"l.txt", ForReading | ForWriting)) << "reading and writing at once";
}

// Many blank lines go out in blocks: the bytes of one write of them all, and the stream's
// first failure raised.
TEST_F(Streams, BlankLinesGoOutInBlocksWithTheBytesOfOneWrite) {
    for (const auto& [newLine, line] : {std::pair{L"\r\n", std::string("\n\0", 2)}, {L"abc", std::string("c\0\0", 3)}}) {
        ComPtr<_TextStream> text = OpenText(L"b.txt", ForWriting);
        ASSERT_EQ(text->put_NewLine(Bstr(newLine).Get()), S_OK);
        writes = 0;
        {
            const ApiOverride<&PlatformApi::WriteFile> counted(&CountedWrite);
            ASSERT_EQ(text->WriteBlankLines(70001), S_OK);
        }
        EXPECT_LE(writes, 4) << "blocks of about 64 KB, not a write per line";
        std::string expected;
        for (int i = 0; i < 70001; ++i) expected += line;
        EXPECT_EQ(FileContents(scratch_ / L"b.txt"), expected);
        const ApiOverride<&PlatformApi::WriteFile> full(&DiskFull);
        writes = 0;
        EXPECT_EQ(Raised(TakeError(text->WriteBlankLines(70001))), Raised(L"FileStream", System(ERROR_DISK_FULL)));
        EXPECT_EQ(writes, 1) << "the first failure ends the work";
    }
}

TEST_F(Streams, AFolderCopyMatchesItsSourceByteForByte) {
    for (const wchar_t* folder : {L"src", L"src\\empty", L"src\\deep", L"src\\deep\\er"}) scratch_.MakeFolder(folder);
    std::string data(70000, '\0');
    for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(i * 7919 >> 3);
    const std::pair<const wchar_t*, std::string> files[] = {
        {L"zero.bin", ""}, {L"deep\\er\\data.bin", data}, {L"ro.txt", "read only"}};
    for (const auto& [name, content] : files) scratch_.WriteFile(std::wstring(L"src\\") + name, content);
    SetFileAttributesW((scratch_ / L"src\\ro.txt").c_str(), FILE_ATTRIBUTE_READONLY);

    const ComPtr<FileSystemLib> library = FileSystemLib::Make();
    const auto copy = [&](bool overwrite) {
        Bstr from(scratch_ / L"src"), to(scratch_ / L"dst");
        return library->CopyFolder(from.Get(), to.Get(), overwrite ? VARIANT_TRUE : VARIANT_FALSE);
    };
    ASSERT_EQ(copy(true), S_OK);
    for (const auto& [name, content] : files) EXPECT_EQ(FileContents(scratch_ / (std::wstring(L"dst\\") + name)), content) << name;
    EXPECT_TRUE(GetFileAttributesW((scratch_ / L"dst\\empty").c_str()) & FILE_ATTRIBUTE_DIRECTORY);

    // An existing read-only file is kept by OverWriteFiles False and overwritten by True.
    SetFileAttributesW((scratch_ / L"dst\\ro.txt").c_str(), FILE_ATTRIBUTE_READONLY);
    SetFileAttributesW((scratch_ / L"src\\ro.txt").c_str(), FILE_ATTRIBUTE_NORMAL);
    scratch_.WriteFile(L"src\\ro.txt", "new");
    ASSERT_EQ(copy(false), S_OK);
    EXPECT_EQ(FileContents(scratch_ / L"dst\\ro.txt"), "read only");
    ASSERT_EQ(copy(true), S_OK);
    EXPECT_EQ(FileContents(scratch_ / L"dst\\ro.txt"), "new");

    // A copy that fails midway raises the writer's error and leaves the source as it was.
    {
        ApiOverride<&PlatformApi::WriteFile> full(&DiskFull);
        const ErrorRecord error = TakeError(copy(true));
        EXPECT_EQ(error.number, System(ERROR_DISK_FULL));
        EXPECT_EQ(error.source, L"FileStream");
        EXPECT_EQ(FileContents(scratch_ / L"src\\deep\\er\\data.bin"), data);
    }

    // An entry " " (its path names its own folder) stops the copy and the cascade delete
    // passes over it: neither walks the same folder without end.
    const std::wstring blank = L"\\\\?\\" + (scratch_ / L"src\\ ");
    ASSERT_TRUE(CreateDirectoryW(blank.c_str(), nullptr));
    EXPECT_EQ(TakeError(copy(true)).number, System(ERROR_INVALID_NAME));
    EXPECT_EQ(FolderItem::Open(scratch_ / L"src")->CascadeDelete(nullptr, VARIANT_TRUE, VARIANT_TRUE, VARIANT_TRUE, VARIANT_TRUE), S_OK);
    RemoveDirectoryW(blank.c_str());
}

TEST(Win98Streams, TextOpensThroughTheAnsiCalls) {
    if (IsPlatformNT()) GTEST_SKIP() << "runs under the win98 program version only (cpp_tests_win98)";
    ScratchFolder scratch;
    const std::wstring path = scratch.WriteFile(L"caf\u00e9.txt", "line\r\n");
    ApiOverride<&PlatformApi::CreateFileW> none(&NoWideOpen);
    Bstr name(path);
    ComPtr<_ITextStream> text;
    ASSERT_EQ(FileSystemLib::Make()->OpenTextStream(name.Get(), ForReading, ShareRead, &text), S_OK);
    Bstr line;
    EXPECT_EQ(text->ReadLine(line.Receive()), S_OK);
    EXPECT_EQ(line.View(), L"line");
}

}  // namespace
}  // namespace vofs::testing
