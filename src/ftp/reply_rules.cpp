#include "ftp/reply_rules.h"

#include <algorithm>
#include <initializer_list>

namespace vofs::reply_rules {
namespace {

constexpr uint32_t kAccessDenied = 5;
constexpr uint32_t kFileNotFound = 2;
constexpr uint32_t kPathNotFound = 3;
constexpr uint32_t kConnectionReset = 12031;
constexpr uint32_t kRetryDialog = 12032;
constexpr uint32_t kExtendedError = 12003;

bool Has(const std::string& text, std::string_view part) { return text.find(part) != std::string::npos; }

bool HasAny(const std::string& text, std::initializer_list<std::string_view> parts) {
    return std::any_of(parts.begin(), parts.end(), [&](std::string_view part) { return Has(text, part); });
}

}  // namespace

uint32_t ClassifyReply(std::string_view reply) {
    std::string text = " ";
    text.reserve(reply.size() + 2);
    for (char c : reply) text += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    text += ' ';

    const bool unavailable = Has(text, "550 ");
    const bool missing = HasAny(text, {"not found", "no such", "cannot find", "directory name is invalid."});
    if (unavailable && HasAny(text, {"access", "permission"}) && Has(text, "denied")) return kAccessDenied;
    if (unavailable && missing && Has(text, "file")) return kFileNotFound;
    if (unavailable && missing && HasAny(text, {"path", "directory"})) return kPathNotFound;
    if (!unavailable && HasAny(text, {"421 ", "426 "})) return kConnectionReset;
    if (!unavailable && Has(text, "command not understood")) return kRetryDialog;
    return kExtendedError;
}

std::string_view LastReplyLine(std::string_view response) {
    while (!response.empty()) {
        const size_t end = response.rfind("\r\n");
        const size_t start = end == std::string_view::npos ? 0 : end + 2;
        if (start < response.size()) return response.substr(start);
        response = response.substr(0, end);
    }
    return {};
}

long ReplyCode(std::string_view line) {
    const std::string_view code = line.substr(0, line.find(' '));
    constexpr size_t kLongestCode = 9;  // fits a Long
    if (code.empty() || code.size() > kLongestCode) return 0;
    long value = 0;
    for (char c : code) {
        if (c < '0' || c > '9') return 0;
        value = value * 10 + (c - '0');
    }
    return value;
}

}  // namespace vofs::reply_rules
