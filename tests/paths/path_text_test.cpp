// The text rules for names and parents of path texts.

#include "paths/path_text.h"

#include <gtest/gtest.h>

namespace vofs::path_text {
namespace {

TEST(PathText, NameFromPath) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"C:\\dir\\file.txt", L"file.txt"},
        {L"  C:\\dir\\file.txt  ", L"file.txt"},
        {L"C:\\dir\\", L"dir\\"},   // a separator in the last place is not a boundary
        {L"C:", L"C:"},
        {L"C:file", L"file"},
        {L"ftp://host/a/b", L"b"},
        {L"ftp://host", L"host"},
        {L"plain", L"plain"},
        {L"", L""},
        {L"\\", L"\\"},
        {L"a/b\\c", L"c"},
    };
    for (const auto& [path, name] : cases) EXPECT_EQ(NameFromPath(path), name) << path;
}

TEST(PathText, ParentFromPath) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"C:\\dir\\file.txt", L"C:\\dir"},
        {L"C:\\dir", L"C:"},
        {L"C:\\", L"C"},            // a colon counts as a boundary
        {L"C:", L"C:"},             // shorter than three characters
        {L"ab", L"ab"},
        {L"abc", L"abc"},           // no boundary
        {L"ftp://host", L""},       // a URL host has no parent
        {L"FTP://Host", L""},
        {L"ftp://host/a", L"ftp://host"},
        {L"ftp://host/", L""},
        {L"\\\\srv\\share\\x", L"\\\\srv\\share"},
        {L"  C:\\a\\b\\  ", L"C:\\a"},
    };
    for (const auto& [path, parent] : cases) EXPECT_EQ(ParentFromPath(path), parent) << path;
}

TEST(PathText, NormalizePath) {
    EXPECT_EQ(NormalizePath(L"ftp://h/a"), L"ftp://h/a/");
    EXPECT_EQ(NormalizePath(L"C:\\a\\"), L"C:\\a\\");
    EXPECT_EQ(NormalizePath(L"C:\\a/"), L"C:\\a/");
    EXPECT_EQ(NormalizePath(L"C:\\a"), L"C:\\a\\");
    EXPECT_EQ(NormalizePath(L""), L"\\");
}

}  // namespace
}  // namespace vofs::path_text
