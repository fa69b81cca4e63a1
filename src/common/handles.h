#pragma once
// Owners of platform handles. A handle whose signed value is -1 or 0 counts as no handle
// everywhere in the library; closing an owner twice, or an empty one, is harmless.

#include "common/platform_api.h"

#include <utility>

namespace vofs {

inline bool IsNoHandle(HANDLE handle) {
    const auto value = reinterpret_cast<LONG_PTR>(handle);
    return value == -1 || value == 0;
}

template <class Traits>
class UniqueHandle {
public:
    using Type = typename Traits::Type;

    UniqueHandle() = default;
    explicit UniqueHandle(Type value) : value_(value) {}
    UniqueHandle(UniqueHandle&& other) noexcept : value_(std::exchange(other.value_, Traits::Empty())) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        if (this != &other) Reset(std::exchange(other.value_, Traits::Empty()));
        return *this;
    }
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;
    ~UniqueHandle() { Close(); }

    Type Get() const { return value_; }
    bool IsValid() const { return Traits::IsValid(value_); }
    explicit operator bool() const { return IsValid(); }

    // Closes the handle; returns the close call's result (true when there was nothing to close).
    bool Close() { return Reset(Traits::Empty()); }
    bool Reset(Type value) {
        bool closed = true;
        if (Traits::IsValid(value_)) closed = Traits::Close(value_);
        value_ = value;
        return closed;
    }
    Type Release() { return std::exchange(value_, Traits::Empty()); }

private:
    Type value_ = Traits::Empty();
};

struct KernelHandleTraits {
    using Type = HANDLE;
    static Type Empty() { return nullptr; }
    static bool IsValid(Type handle) { return !IsNoHandle(handle); }
    static bool Close(Type handle) { return api.CloseHandle(handle) != FALSE; }
};

struct FindHandleTraits {
    using Type = HANDLE;
    static Type Empty() { return INVALID_HANDLE_VALUE; }
    static bool IsValid(Type handle) { return !IsNoHandle(handle); }
    static bool Close(Type handle) { return api.FindClose(handle) != FALSE; }
};

struct RegistryKeyTraits {
    using Type = HKEY;
    static Type Empty() { return nullptr; }
    static bool IsValid(Type key) { return key != nullptr; }
    static bool Close(Type key) { return RegCloseKey(key) == ERROR_SUCCESS; }
};

using KernelHandle = UniqueHandle<KernelHandleTraits>;
using FindHandle = UniqueHandle<FindHandleTraits>;
using RegistryKey = UniqueHandle<RegistryKeyTraits>;

// Frees memory the shell or COM allocated with the task allocator.
struct TaskMemory {
    void* pointer = nullptr;
    TaskMemory() = default;
    explicit TaskMemory(void* memory) : pointer(memory) {}
    TaskMemory(const TaskMemory&) = delete;
    TaskMemory& operator=(const TaskMemory&) = delete;
    ~TaskMemory() { CoTaskMemFree(pointer); }
};

}  // namespace vofs
