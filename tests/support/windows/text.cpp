#include "tests/support/windows/text.h"

#include "platform/win32.h"

namespace support {
namespace {

constexpr UINT kAnsi = 1252;

std::string Convert(std::string_view text, UINT from, UINT to) {
    const auto length = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');
    const int units = MultiByteToWideChar(from, 0, text.data(), length, wide.data(), length);
    wide.resize(static_cast<std::size_t>(units));
    std::string result(wide.size() * 3, '\0');
    const int bytes = WideCharToMultiByte(to, 0, wide.data(), units, result.data(),
                                          static_cast<int>(result.size()), nullptr, nullptr);
    result.resize(static_cast<std::size_t>(bytes));
    return result;
}

}  // namespace

std::string ToUtf8(std::string_view ansi) {
    return Convert(ansi, kAnsi, CP_UTF8);
}

std::string FromUtf8(std::string_view utf8) {
    return Convert(utf8, CP_UTF8, kAnsi);
}

}  // namespace support
