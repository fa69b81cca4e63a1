#pragma once
// Text that must not outlive its use in memory (passwords): its characters are wiped
// before the buffer is released or reused, not merely freed.

#include "common/platform_headers.h"

#include <string>
#include <string_view>

namespace vofs {

template <class Char>
void WipeText(std::basic_string<Char>& text) noexcept {
    SecureZeroMemory(text.data(), text.size() * sizeof(Char));
    text.clear();
}

class SecretText {
public:
    SecretText() = default;
    SecretText(const SecretText&) = delete;
    SecretText& operator=(const SecretText&) = delete;
    // A move copies the characters and wipes the source: a moved-from short string would
    // keep them in its inline buffer.
    SecretText(SecretText&& other) : text_(other.text_) { other.Wipe(); }
    ~SecretText() { Wipe(); }

    SecretText& operator=(std::wstring_view text) {
        Wipe();
        text_.assign(text);
        return *this;
    }
    void Wipe() noexcept { WipeText(text_); }
    const std::wstring& Text() const { return text_; }

private:
    std::wstring text_;
};

}  // namespace vofs
