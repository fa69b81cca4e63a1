// Stream speeds of the registered library from C++ through its interfaces, each against
// the raw platform calls doing the same work in the same run, their rounds taken in turn.
// Figures are the best round, in nanoseconds for the whole job; tools/bench.sh prints
// ratios.
//   vofslib_streams_bench.exe FOLDER     FOLDER is scratch space (about 500 MB)
//     stream.write / stream.read   256 MiB in 64 KiB byte arrays (WriteFile / ReadFile)
//     readline                     a 20 MB file of 80-byte lines (a 4 KiB read and a seek
//                                  per line, what the line scan implies)
//     copyfolder                   1,000 files of 100 KiB (CopyFileW per file)
//     blanklines                   WriteBlankLines of 64 Mi lines, 128 MiB (the same bytes
//                                  in 64 KiB WriteFile calls)

#include "common/platform_headers.h"

#include <initguid.h>

#include "vofslib_idl.h"

#include "bench_support.h"

#include <string>
#include <vector>

namespace {

constexpr DWORD kChunk = 64 * 1024, kChunks = 4096;  // 256 MiB
constexpr DWORD kLine = 80, kLines = 20 * 1000 * 1000 / kLine;
constexpr int kFiles = 1000, kFileSize = 100 * 1024;

void Check(HRESULT result, const char* what) {
    if (FAILED(result)) Fail(what, result);
}

struct Bstring {
    BSTR value;
    explicit Bstring(const std::wstring& text) : value(SysAllocString(text.c_str())) {}
    ~Bstring() { SysFreeString(value); }
};

HANDLE OpenRaw(const std::wstring& path, DWORD access, DWORD disposition) {
    const HANDLE file = CreateFileW(path.c_str(), access, FILE_SHARE_READ, nullptr, disposition, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) Fail("CreateFileW", HRESULT_FROM_WIN32(GetLastError()));
    return file;
}

void WriteLines(const std::wstring& path) {
    std::string line(kLine - 2, 'x');
    line += "\r\n";
    std::string content;
    for (DWORD i = 0; i < kLines; ++i) content += line;
    const HANDLE file = OpenRaw(path, GENERIC_WRITE, CREATE_ALWAYS);
    DWORD written;
    WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr);
    CloseHandle(file);
}

void RemoveTree(const std::wstring& folder) {
    for (int i = 0; i < kFiles; ++i) DeleteFileW((folder + L"\\f" + std::to_wstring(i)).c_str());
    RemoveDirectoryW(folder.c_str());
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc < 2) return std::printf("usage: vofslib_streams_bench FOLDER\n"), 2;
    // Each side writes its own file in place (opened, not truncated): a truncation of the
    // other side's 256 MiB, still being written back, would be timed otherwise.
    const std::wstring folder = argv[1], big = folder + L"\\big.bin", rawBig = folder + L"\\raw.bin",
                       lines = folder + L"\\lines.txt";
    CoInitialize(nullptr);
    CLSID clsid;
    Check(CLSIDFromProgID(L"VOFSL.FileSystemLib", &clsid), "CLSIDFromProgID");
    _FileSystemLib* lib = nullptr;
    Check(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID__FileSystemLib, reinterpret_cast<void**>(&lib)),
          "CoCreateInstance");

    std::vector<char> raw(kChunk, 'r');
    VARIANT chunk;
    VariantInit(&chunk);
    V_VT(&chunk) = VT_ARRAY | VT_UI1, V_ARRAY(&chunk) = SafeArrayCreateVector(VT_UI1, 0, kChunk);
    const auto streamOf = [&](FileMode mode, FileAccess access) {
        Bstring path(big);
        _FileStream* stream = nullptr;
        Check(lib->OpenStream(path.value, mode, access, ShareRead, OpenFileFlags{}, &stream), "OpenStream");
        return stream;
    };

    const PairTimes write = BestOfTurns(5, [&] {
        const HANDLE file = OpenRaw(rawBig, GENERIC_WRITE, OPEN_ALWAYS);
        DWORD done;
        for (DWORD i = 0; i < kChunks; ++i) WriteFile(file, raw.data(), kChunk, &done, nullptr);
        CloseHandle(file);
    }, [&] {
        _FileStream* stream = streamOf(OpenOrCreate, AccessWrite);  // as the raw loop opens
        LONG done;
        for (DWORD i = 0; i < kChunks; ++i) Check(stream->WriteStream(&chunk, 0, -1, &done), "WriteStream");
        stream->Release();
    });
    const PairTimes read = BestOfTurns(5, [&] {
        const HANDLE file = OpenRaw(rawBig, GENERIC_READ, OPEN_EXISTING);
        DWORD done;
        for (DWORD i = 0; i < kChunks; ++i) ReadFile(file, raw.data(), kChunk, &done, nullptr);
        CloseHandle(file);
    }, [&] {
        _FileStream* stream = streamOf(OpenExisting, AccessRead);
        LONG done;
        for (DWORD i = 0; i < kChunks; ++i) Check(stream->ReadStream(&chunk, 0, -1, &done), "ReadStream");
        stream->Release();
    });
    const PairTimes blank = BestOfTurns(3, [&] {
        const std::vector<char> lines = [] {
            std::vector<char> block(kChunk, 0);
            for (DWORD i = 0; i < kChunk; i += 2) block[i] = '\n';
            return block;
        }();
        const HANDLE file = OpenRaw(rawBig, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS);
        DWORD done;
        for (DWORD i = 0; i < kChunks / 2; ++i) WriteFile(file, lines.data(), kChunk, &done, nullptr);
        CloseHandle(file);
    }, [&] {
        Bstring path(big);
        _ITextStream* text = nullptr;
        Check(lib->OpenTextStream(path.value, ForWriting, ShareRead, &text), "OpenTextStream");
        Check(text->WriteBlankLines(kChunk / 2 * (kChunks / 2)), "WriteBlankLines");
        text->Release();
    });
    DeleteFileW(big.c_str());
    DeleteFileW(rawBig.c_str());

    WriteLines(lines);
    const PairTimes lineTimes = BestOfTurns(3, [&] {
        const HANDLE file = OpenRaw(lines, GENERIC_READ, OPEN_EXISTING);
        char buffer[4096];
        DWORD done;
        for (DWORD i = 0; i < kLines; ++i) {
            ReadFile(file, buffer, sizeof buffer, &done, nullptr);
            SetFilePointer(file, static_cast<LONG>((i + 1) * kLine), nullptr, FILE_BEGIN);
        }
        CloseHandle(file);
    }, [&] {
        Bstring path(lines);
        _ITextStream* text = nullptr;
        Check(lib->OpenTextStream(path.value, ForReading, ShareRead, &text), "OpenTextStream");
        for (DWORD i = 0; i < kLines; ++i) {
            BSTR line = nullptr;
            Check(text->ReadLine(&line), "ReadLine");
            SysFreeString(line);
        }
        text->Release();
    });
    DeleteFileW(lines.c_str());

    const std::wstring source = folder + L"\\tree", copy = folder + L"\\copy";
    CreateDirectoryW(source.c_str(), nullptr);
    std::vector<char> content(kFileSize, 'c');
    for (int i = 0; i < kFiles; ++i) {
        const HANDLE file = OpenRaw(source + L"\\f" + std::to_wstring(i), GENERIC_WRITE, CREATE_ALWAYS);
        DWORD done;
        WriteFile(file, content.data(), kFileSize, &done, nullptr);
        CloseHandle(file);
    }
    const PairTimes copyTimes = BestOfTurns(3, [&] {
        RemoveTree(copy);
        CreateDirectoryW(copy.c_str(), nullptr);
        for (int i = 0; i < kFiles; ++i) {
            const std::wstring name = L"\\f" + std::to_wstring(i);
            if (!CopyFileW((source + name).c_str(), (copy + name).c_str(), FALSE)) Fail("CopyFileW", E_FAIL);
        }
    }, [&] {
        RemoveTree(copy);
        Bstring from(source), to(copy);
        Check(lib->CopyFolder(from.value, to.value, VARIANT_TRUE), "CopyFolder");
    });
    RemoveTree(copy);
    RemoveTree(source);

    const std::pair<const char*, PairTimes> figures[] = {
        {"stream.write", write}, {"stream.read", read}, {"readline", lineTimes}, {"copyfolder", copyTimes},
        {"blanklines", blank}};
    for (const auto& [name, times] : figures)
        std::printf("%s.raw %.0f\n%s.vofslib %.0f\n", name, times.raw * 1e9, name, times.library * 1e9);
    VariantClear(&chunk);
    lib->Release();
    CoUninitialize();
    return 0;
}
