// Runs the reply rules on arbitrary responses: the classification is one of its six
// codes, the last line is a non-empty piece of the response without a line break, and
// a reply code is the number its line starts with.

#include "ftp/reply_rules.h"

using namespace vofs::reply_rules;

namespace {

void Require(bool condition) {
    if (!condition) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view response(reinterpret_cast<const char*>(data), size);
    const uint32_t code = ClassifyReply(response);
    Require(code == 2 || code == 3 || code == 5 || code == 12003 || code == 12031 || code == 12032);
    const std::string_view line = LastReplyLine(response);
    Require(line.empty() || (line.data() >= response.data() && line.data() + line.size() <= response.data() + response.size()));
    Require(line.find("\r\n") == std::string_view::npos);
    const long reply = ReplyCode(line);
    Require(reply >= 0 && (reply == 0 || (line[0] >= '0' && line[0] <= '9')));
    return 0;
}
