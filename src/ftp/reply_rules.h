#pragma once
// FTP server replies as the internet layer reads them, as plain functions over text: no
// platform headers, so they build natively too (the fuzz target runs them).

#include <cstdint>
#include <string>
#include <string_view>

namespace vofs::reply_rules {

// The platform error code a failed call's server reply stands for: 5 (access denied), 2
// (file not found), 3 (path not found), 12031 (connection reset), 12032 (retry) or 12003
// (extended error: anything else). The tests are substring tests on the lower-cased reply
// with a blank before and after it.
uint32_t ClassifyReply(std::string_view reply);

// The last line of a response that is not empty (lines end in CR LF).
std::string_view LastReplyLine(std::string_view response);

// The line's reply code: its text up to the first blank when that is a number, else 0.
long ReplyCode(std::string_view line);

}  // namespace vofs::reply_rules
