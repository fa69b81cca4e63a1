// Server replies as the internet layer reads them: the classification of failed calls'
// replies (the texts of the servers the FTP tests run), the last line and its code.

#include "ftp/reply_rules.h"

#include <gtest/gtest.h>

#include <tuple>

namespace vofs::testing {
namespace {

using namespace reply_rules;

TEST(ReplyRules, ClassificationLastLineAndCode) {
    const std::pair<const char*, uint32_t> replies[] = {
        {"550 Permission denied.", 5}, {"550 Access is denied. ", 5},
        {"550 No such file or directory.", 2},  // "file" decides before "directory"
        {"550 Directory not found.", 3}, {"550 The directory name is invalid.", 3},
        {"550 Failed to change directory.", 12003}, {"550 Create directory operation failed.", 12003},
        {"421 Timeout.", 12031}, {"426 Connection closed; transfer aborted.", 12031},
        {"500 'XYZ': command not understood.", 12032}, {"550 Command not understood", 12003},
        {"", 12003}, {"PERMISSION DENIED 550 ", 5}, {"550\tno such file", 12003},
    };
    for (const auto& [reply, code] : replies) EXPECT_EQ(ClassifyReply(reply), code) << reply;

    const std::tuple<const char*, const char*, long> responses[] = {
        {"230-Welcome\r\n230 Login successful.\r\n", "230 Login successful.", 230},
        {"226 Done.\r\n\r\n\r\n", "226 Done.", 226}, {"no line break", "no line break", 0},
        {"\r\n\r\n", "", 0}, {"150-x\r\n1234567890 too long", "1234567890 too long", 0},
    };
    for (const auto& [response, line, code] : responses) {
        EXPECT_EQ(LastReplyLine(response), line) << response;
        EXPECT_EQ(ReplyCode(LastReplyLine(response)), code) << response;
    }
}

}  // namespace
}  // namespace vofs::testing
