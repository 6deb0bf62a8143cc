// The system's words for its codes; what the program says around them is the callers' own.
#include "common/modGetErrString.h"

#include "common/modText.h"

std::string SystemText(DWORD code, DWORD limit) {
    std::string text(limit, '\0');
    const DWORD length =
        FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, 0, text.data(), limit, nullptr);
    text.resize(length < limit ? length : 0);
    if (text.ends_with(kLineBreak)) {
        text.resize(text.size() - kLineBreak.size());
    }
    return text;
}

std::string GetErrString(std::int32_t code, ShowCode showCode, std::string_view label) {
    constexpr DWORD kLimit = 4096;
    if (code == 0) {
        return {};
    }
    std::string text = SystemText(static_cast<DWORD>(code), kLimit);
    if (!text.empty()) {
        text.insert(0, kParagraphBreak);
    }
    if (showCode == ShowCode::Yes) {
        text += Joined({" (", label, " ", Decimal(code), ")"});
    }
    return text;
}
