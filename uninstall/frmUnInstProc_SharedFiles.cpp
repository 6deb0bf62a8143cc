#include "common/Product.h"
#include "common/modText.h"
#include "platform/ansi.h"
#include "platform/handles.h"
#include "registry/modRegistry.h"
#include "uninstall/Globals.h"
#include "uninstall/frmUnInstProc.h"

using modRegistry::Silent;

namespace {

constexpr std::string_view SharedFileNames[] = {"Msvbvm60.dll", "MSComCtl.ocx", "RichTx32.ocx"};

// The key that holds the counts, opened for looking and for changing.
struct CountsKey {
    std::string name = Product::SharedFilesKey;
    handles::Key reading, writing;
};

// Lowers one count, deleting it when nobody is left to count; a text that is no number
// counts nobody. True also when there is no count.
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

void LowerSharedCounts(const CountsKey& key, frmUnInstProc& form) {
    for (const std::string_view name : SharedFileNames) {
        forms::ProcessMessages();
        const std::string valueName = Joined({Globals().SystemFolder, name});
        if (!LowerSharedCount(key, valueName)) {
            form.Log(Joined(
                {"Die gemeinsam genutzte Datei ", Quoted(valueName),
                 " konnte nicht als nicht mehr von Tessorin benötigt markiert werden."_ansi}));
        }
    }
}

// False if no count could be touched at all.
bool CountsAreReleased(frmUnInstProc& form) {
    CountsKey key;
    const LONG code =
        modRegistry::OpenKeyForReading(HKEY_LOCAL_MACHINE, key.name, key.reading, Silent);
    if (code == ERROR_FILE_NOT_FOUND) {
        return true;  // nobody counts shared files here
    }
    // Without the system folder the names would be those of somebody else's counts.
    if (code != ERROR_SUCCESS || Globals().SystemFolder.empty() ||
        modRegistry::OpenKeyForWriting(HKEY_LOCAL_MACHINE, key.name, key.writing, Silent) !=
            ERROR_SUCCESS) {
        return false;
    }
    LowerSharedCounts(key, form);
    return true;
}

}  // namespace

void frmUnInstProc::ReleaseSharedFiles() {
    if (!CountsAreReleased(*this)) {
        Log("Die gemeinsam genutzten Dateien konnten nicht als nicht mehr von Tessorin benötigt markiert werden."_ansi);
    }
}
