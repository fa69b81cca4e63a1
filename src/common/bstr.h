#pragma once
// Owning BSTR, and the conversions between BSTR and std::wstring used at the boundary.

#include "common/platform_headers.h"

#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace vofs {

// A BSTR that is freed when the owner goes. An empty string and a null BSTR are the same
// to automation, so View() of a null BSTR is empty.
class Bstr {
public:
    Bstr() = default;
    explicit Bstr(std::wstring_view text)
        : value_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {
        if (!value_) throw std::bad_alloc();
    }
    Bstr(Bstr&& other) noexcept : value_(std::exchange(other.value_, nullptr)) {}
    Bstr& operator=(Bstr&& other) noexcept {
        if (this != &other) Reset(std::exchange(other.value_, nullptr));
        return *this;
    }
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;
    ~Bstr() { SysFreeString(value_); }

    BSTR Get() const { return value_; }
    BSTR* Receive() {
        Reset(nullptr);
        return &value_;
    }
    BSTR Detach() { return std::exchange(value_, nullptr); }
    void Reset(BSTR value) {
        SysFreeString(value_);
        value_ = value;
    }
    std::wstring_view View() const { return View(value_); }

    static std::wstring_view View(BSTR value) {
        return value ? std::wstring_view(value, SysStringLen(value)) : std::wstring_view();
    }

private:
    BSTR value_ = nullptr;
};

inline std::wstring ToWString(BSTR value) { return std::wstring(Bstr::View(value)); }

}  // namespace vofs
