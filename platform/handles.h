// Owners of what the system hands out: move-only, each closes what it holds exactly once and
// leaves the last error code as it was.
#pragma once

#include <utility>

#include "platform/win32.h"

namespace handles {

template <typename Kind>
class Owned {
 public:
    using Value = typename Kind::Value;

    Owned() noexcept = default;
    explicit Owned(Value value) noexcept : value_(value) {}
    Owned(Owned&& other) noexcept : value_(std::exchange(other.value_, Kind::Nothing())) {}
    Owned& operator=(Owned&& other) noexcept {
        if (this != &other) {
            Close();
            value_ = std::exchange(other.value_, Kind::Nothing());
        }
        return *this;
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    ~Owned() { Close(); }

    [[nodiscard]] Value Get() const noexcept { return value_; }
    [[nodiscard]] explicit operator bool() const noexcept { return value_ != Kind::Nothing(); }

    // Where a function may store what it opens; closes what was held before.
    [[nodiscard]] Value* Receive() noexcept {
        Close();
        return &value_;
    }
    // Gives the value away; the caller closes it.
    [[nodiscard]] Value Release() noexcept { return std::exchange(value_, Kind::Nothing()); }

    void Close() noexcept {
        if (value_ != Kind::Nothing()) {
            const DWORD code = GetLastError();
            Kind::Close(std::exchange(value_, Kind::Nothing()));
            SetLastError(code);
        }
    }

 private:
    Value value_ = Kind::Nothing();
};

struct FileKind {
    using Value = HANDLE;
    static Value Nothing() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) noexcept { CloseHandle(value); }
};
// Processes and threads: unlike files they say "none" with null.
struct ProcessKind {
    using Value = HANDLE;
    static Value Nothing() noexcept { return nullptr; }
    static void Close(Value value) noexcept { CloseHandle(value); }
};
struct FindKind {
    using Value = HANDLE;
    static Value Nothing() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) noexcept { FindClose(value); }
};
struct KeyKind {
    using Value = HKEY;
    static Value Nothing() noexcept { return nullptr; }
    static void Close(Value value) noexcept { RegCloseKey(value); }
};
struct ItemListKind {
    using Value = LPITEMIDLIST;
    static Value Nothing() noexcept { return nullptr; }
    static void Close(Value value) noexcept { CoTaskMemFree(value); }
};
struct GlobalMemoryKind {
    using Value = HGLOBAL;
    static Value Nothing() noexcept { return nullptr; }
    static void Close(Value value) noexcept { GlobalFree(value); }
};

struct WindowKind {
    using Value = HWND;
    static Value Nothing() noexcept { return nullptr; }
    static void Close(Value value) noexcept { DestroyWindow(value); }
};

using File = Owned<FileKind>;
using Process = Owned<ProcessKind>;
using Find = Owned<FindKind>;
using Key = Owned<KeyKind>;
using ItemList = Owned<ItemListKind>;
using GlobalMemory = Owned<GlobalMemoryKind>;
using Window = Owned<WindowKind>;

// Holds the clipboard open for as long as it lives.
class Clipboard {
 public:
    explicit Clipboard(HWND owner) noexcept : open_(OpenClipboard(owner) != FALSE) {}
    Clipboard(const Clipboard&) = delete;
    Clipboard& operator=(const Clipboard&) = delete;
    ~Clipboard() {
        if (open_) {
            const DWORD code = GetLastError();
            CloseClipboard();
            SetLastError(code);
        }
    }
    [[nodiscard]] bool IsOpen() const noexcept { return open_; }

 private:
    bool open_;
};

}  // namespace handles
