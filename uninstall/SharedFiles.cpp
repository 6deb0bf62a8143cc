// A count is read as text, because installers have written it in every type that there is.
#include "uninstall/SharedFiles.h"

#include <algorithm>
#include <limits>
#include <string>

#include "common/Product.h"
#include "common/modText.h"
#include "platform/forms.h"
#include "platform/handles.h"
#include "registry/modRegistry.h"
#include "uninstall/Globals.h"

using modRegistry::Silent;

namespace {

constexpr std::string_view SharedFileNames[] = {"Msvbvm60.dll", "MSComCtl.ocx", "RichTx32.ocx"};

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = std::min(text.find_first_not_of(' '), text.size());
    return text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

// Whether whole.fraction is nearer to whole + 1, or in the middle and whole is odd.
bool RoundsUp(std::uint32_t whole, std::string_view fraction) {
    if (fraction.empty() || fraction.front() < '5') {
        return false;
    }
    const bool half =
        fraction.front() == '5' && fraction.find_first_not_of('0', 1) == std::string_view::npos;
    return !half || whole % 2 != 0;
}

// The key that holds the counts, opened for looking and for changing.
struct CountsKey {
    std::string name = Product::SharedFilesKey;
    handles::Key reading, writing;
};

// Lowers one count, or deletes it where it would fall to zero; a text that is no number counts as
// zero. True also when there is no count.
bool LowerSharedCount(const CountsKey& key, const std::string& valueName) {
    std::string text;
    const LONG code = modRegistry::QueryValue(HKEY_LOCAL_MACHINE, key.name, key.reading.Get(),
                                              valueName, text, Silent);
    if (code != ERROR_SUCCESS) {
        return code == ERROR_FILE_NOT_FOUND;
    }
    const std::int32_t count = RoundedNumber(text).value_or(0);
    if (count > 1) {
        return modRegistry::SetValue(HKEY_LOCAL_MACHINE, key.name, key.writing.Get(), valueName,
                                     REG_DWORD, Decimal(count - 1), Silent) == ERROR_SUCCESS;
    }
    return modRegistry::DeleteValueInKey(HKEY_LOCAL_MACHINE, key.name, key.writing.Get(), valueName,
                                         Silent) == ERROR_SUCCESS;
}

void LowerSharedCounts(const CountsKey& key, Removal& removal) {
    for (const std::string_view name : SharedFileNames) {
        forms::ProcessMessages();
        const std::string valueName = Joined({SystemFolder, name});
        if (!LowerSharedCount(key, valueName)) {
            removal.Log(Joined({"Die gemeinsam genutzte Datei ", Quoted(valueName),
                                " konnte nicht als nicht mehr von Tessorin benötigt markiert "
                                "werden."}));
        }
    }
}

// False if no count could be touched at all.
bool CountsAreReleased(Removal& removal) {
    CountsKey key;
    const LONG code =
        modRegistry::OpenKeyForReading(HKEY_LOCAL_MACHINE, key.name, key.reading, Silent);
    if (code == ERROR_FILE_NOT_FOUND) {
        return true;  // nobody counts shared files here
    }
    if (code != ERROR_SUCCESS ||
        modRegistry::OpenKeyForWriting(HKEY_LOCAL_MACHINE, key.name, key.writing, Silent) !=
            ERROR_SUCCESS) {
        return false;
    }
    LowerSharedCounts(key, removal);
    return true;
}

}  // namespace

std::optional<std::int32_t> RoundedNumber(std::string_view text) {
    constexpr std::uint32_t kLargest = std::numeric_limits<std::int32_t>::max();
    text = Trimmed(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    const std::size_t point = std::min(text.find_first_of(".,"), text.size());
    const std::string_view fraction = text.substr(std::min(point + 1, text.size()));
    // ".5" has no digits before its point, which says 0.
    const std::string_view digits = point == 0 && !fraction.empty() ? "0" : text.substr(0, point);
    const std::uint32_t limit = kLargest + (negative ? 1 : 0);
    const std::optional<std::uint32_t> whole = WholeNumber(digits, limit);
    if (!whole || !IsDigits(fraction)) {
        return std::nullopt;
    }
    const std::int64_t rounded = std::int64_t{*whole} + (RoundsUp(*whole, fraction) ? 1 : 0);
    if (rounded > limit) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(negative ? -rounded : rounded);
}

void ReleaseSharedFiles(Removal& removal) {
    if (!CountsAreReleased(removal)) {
        removal.Log(
            "Die gemeinsam genutzten Dateien konnten nicht als nicht mehr von Tessorin benötigt "
            "markiert werden.");
    }
}
