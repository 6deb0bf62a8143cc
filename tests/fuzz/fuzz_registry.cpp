// Any text as a machine's registry: the reader takes it or names the damaged line, and the
// writer gives a text that reads as the same registry.
#include <algorithm>

#include "platform/regtext/regtext.h"
#include "tests/fuzz/support.h"

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer's name for it
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using fuzz::Require;
    constexpr std::string_view kUser = "S-1-5-21-1000";
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    regtext::Keys keys;
    try {
        keys = regtext::Parse(text, kUser);
    } catch (const regtext::Damage& damage) {
        const auto lines = std::count(text.begin(), text.end(), '\n') + 1;
        Require(damage.line > 0 && damage.line <= lines, "a damage has its place");
        return 0;
    }
    const std::string written = regtext::Format(keys);
    const regtext::Keys again = regtext::Parse(written, kUser);  // a damage here is a finding
    Require(again == keys && regtext::Format(again) == written, "it comes back");
    return 0;
}
