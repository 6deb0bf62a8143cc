// What the system's error codes are called and numbered in this program.
#include "common/modRuntimeError.h"

#include "common/modGetErrString.h"
#include "common/modText.h"

namespace {

struct Meaning {
    std::uint16_t code;
    std::uint16_t number;
    const char* text;
};

constexpr Meaning kMeanings[] = {
    {ERROR_FILE_NOT_FOUND, 53, "Datei nicht gefunden"},
    {ERROR_PATH_NOT_FOUND, ErrorNumber::PathNotFound, "Pfad nicht gefunden"},
    {ERROR_DIRECTORY, ErrorNumber::PathNotFound, "Pfad nicht gefunden"},
    {ERROR_TOO_MANY_OPEN_FILES, 67, "Zu viele Dateien"},
    {ERROR_NOT_ENOUGH_MEMORY, ErrorNumber::OutOfMemory, "Nicht genügend Arbeitsspeicher"},
    {ERROR_OUTOFMEMORY, ErrorNumber::OutOfMemory, "Nicht genügend Arbeitsspeicher"},
    {ERROR_WRITE_PROTECT, 70, "Zugriff verweigert"},
    {ERROR_SHARING_VIOLATION, 70, "Zugriff verweigert"},
    {ERROR_LOCK_VIOLATION, 70, "Zugriff verweigert"},
    {ERROR_NOT_READY, 71, "Datenträger nicht bereit"},
    {ERROR_HANDLE_DISK_FULL, 61, "Datenträger voll"},
    {ERROR_DISK_FULL, 61, "Datenträger voll"},
    {ERROR_INVALID_NAME, 52, "Dateiname falsch"},
    {ERROR_FILENAME_EXCED_RANGE, 52, "Dateiname falsch"},
    {ERROR_FILE_EXISTS, ErrorNumber::FileExists, "Datei existiert bereits"},
    {ERROR_ALREADY_EXISTS, ErrorNumber::FileExists, "Datei existiert bereits"},
    {ERROR_RESOURCE_DATA_NOT_FOUND, 326, "Ressource nicht gefunden"},
    {ERROR_RESOURCE_TYPE_NOT_FOUND, 326, "Ressource nicht gefunden"},
    {ERROR_RESOURCE_NAME_NOT_FOUND, 326, "Ressource nicht gefunden"},
};

constexpr Meaning kOther{0, ErrorNumber::PathFileAccess, "Fehler beim Zugriff auf Pfad/Datei"};

const Meaning& MeaningOf(DWORD code) {
    for (const Meaning& meaning : kMeanings) {
        if (meaning.code == code) {
            return meaning;
        }
    }
    return kOther;
}

}  // namespace

RuntimeError SystemError(DWORD code, std::string_view object) {
    const Meaning& meaning = MeaningOf(code);
    return {meaning.number,
            Joined({meaning.text, ": ", Quoted(object),
                    GetErrString(static_cast<std::int32_t>(code), ShowCode::Yes, "Fehlercode")})};
}

void Defer(RuntimeError outcome) {
    if (outcome.Failed()) {
        CurrentError = std::move(outcome);
    }
}
