#include <algorithm>
#include <limits>

#include "common/modGeneral.h"
#include "platform/ansi.h"
#include "platform/handles.h"
#include "registry/modRegistry.h"
#include "uninstall/Globals.h"
#include "uninstall/frmUnInstProc.h"

using modRegistry::Silent;

namespace {

const std::string kCountsKey = "Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs";
constexpr std::string_view SharedFileNames[] = {"Msvbvm60.dll", "MSComCtl.ocx", "RichTx32.ocx"};

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool IsDigits(std::string_view text) {
    return text.find_first_not_of("0123456789") == std::string_view::npos;
}

// Whether whole.fraction is nearer to whole + 1, or in the middle and whole is odd.
bool RoundsUp(std::uint64_t whole, std::string_view fraction) {
    if (fraction.empty() || fraction.front() < '5') {
        return false;
    }
    const bool half =
        fraction.front() == '5' && fraction.find_first_not_of('0', 1) == std::string_view::npos;
    return !half || whole % 2 != 0;
}

}  // namespace

std::optional<std::int32_t> RoundedNumber(std::string_view text) {
    constexpr std::uint64_t kTooLarge = std::uint64_t{1} << 32;
    text = Trimmed(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    const std::size_t point = std::min(text.find_first_of(".,"), text.size());
    const std::string_view digits = text.substr(0, point);
    const std::string_view fraction = text.substr(std::min(point + 1, text.size()));
    if (digits.size() + fraction.size() == 0 || !IsDigits(digits) || !IsDigits(fraction)) {
        return std::nullopt;
    }
    std::uint64_t whole = 0;
    for (const char digit : digits) {
        whole = std::min(whole * 10 + static_cast<std::uint64_t>(digit - '0'), kTooLarge);
    }
    whole += RoundsUp(whole, fraction) ? 1 : 0;
    constexpr std::uint64_t kLargest = std::numeric_limits<std::int32_t>::max();
    if (whole > kLargest + (negative ? 1 : 0)) {
        return std::nullopt;
    }
    const auto value = static_cast<std::int64_t>(whole);
    return static_cast<std::int32_t>(negative ? -value : value);
}

void frmUnInstProc::ReleaseSharedFiles() {
    handles::Key reading;
    const LONG code =
        modRegistry::OpenKeyForReading(HKEY_LOCAL_MACHINE, kCountsKey, reading, Silent);
    if (code == ERROR_FILE_NOT_FOUND) {
        return;  // nobody counts shared files here
    }
    if (code != ERROR_SUCCESS || !ReleaseSharedFilesInKey(reading.Get())) {
        Log("Die gemeinsam genutzten Dateien konnten nicht als nicht mehr von Tessorin benötigt markiert werden."_ansi);
    }
}

// False if no count could be touched at all.
bool frmUnInstProc::ReleaseSharedFilesInKey(HKEY reading) {
    handles::Key writing;
    const std::string& folder = Globals().SystemFolder;
    // Without the system folder the names would be those of somebody else's counts.
    if (folder.empty() || modRegistry::OpenKeyForWriting(HKEY_LOCAL_MACHINE, kCountsKey, writing,
                                                         Silent) != ERROR_SUCCESS) {
        return false;
    }
    for (const std::string_view name : SharedFileNames) {
        forms::ProcessMessages();
        const std::string valueName = Joined({folder, name});
        if (!LowerSharedCount(reading, writing.Get(), valueName)) {
            Log(Joined(
                {"Die gemeinsam genutzte Datei \"", valueName,
                 "\" konnte nicht als nicht mehr von Tessorin benötigt markiert werden."_ansi}));
        }
    }
    return true;
}

// Lowers one count, deleting it when nobody is left to count; a text that is no number
// counts nobody. True also when there is no count.
bool frmUnInstProc::LowerSharedCount(HKEY reading, HKEY writing, const std::string& valueName) {
    std::string text;
    const LONG code =
        modRegistry::QueryValue(HKEY_LOCAL_MACHINE, kCountsKey, reading, valueName, text, Silent);
    if (code != ERROR_SUCCESS) {
        return code == ERROR_FILE_NOT_FOUND;
    }
    const std::int32_t count = RoundedNumber(text).value_or(0);
    if (count > 1) {
        return modRegistry::SetValue(HKEY_LOCAL_MACHINE, kCountsKey, writing, valueName, REG_DWORD,
                                     std::to_string(count - 1), Silent) == ERROR_SUCCESS;
    }
    return modRegistry::DeleteValueInKey(HKEY_LOCAL_MACHINE, kCountsKey, writing, valueName,
                                         Silent) == ERROR_SUCCESS;
}
