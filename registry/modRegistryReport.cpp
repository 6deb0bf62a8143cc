// What the user is told when a registry operation has failed. One set of pieces serves all of
// them, so that every report reads alike.
#include "common/modGeneral.h"
#include "common/modGetErrString.h"
#include "common/modText.h"
#include "registry/modRegistry.h"

namespace modRegistry {

namespace {

// The pieces that the reports are put together from, under their short keys. Leading
// blanks belong to them, and so does the "n" that turns "konnte" into "konnten".
namespace Piece {
constexpr std::string_view Val = "Der Registrierungswert";
constexpr std::string_view Default = "(Standard)";
constexpr std::string_view InKey = "im Schlüssel";
constexpr std::string_view Key = "Der Registrierungsschlüssel";
constexpr std::string_view Subkeys = "Die Unterschlüssel des Registrierungsschlüssels";
constexpr std::string_view Could = "konnte";
constexpr std::string_view Read = " nicht gelesen";
constexpr std::string_view Written = " nicht geschrieben";
constexpr std::string_view Deleted = " nicht gelöscht";
constexpr std::string_view Created = " nicht erstellt";
constexpr std::string_view Enumed = "n nicht aufgelistet";
constexpr std::string_view OpenRead = " nicht mit Lesezugriffsrechten geöffnet";
constexpr std::string_view OpenWrite = " nicht mit Schreibzugriffsrechten geöffnet";
constexpr std::string_view Be = " werden.";
constexpr std::string_view NotFound = "Der Registrierungsschlüssel ist nicht vorhanden.";
constexpr std::string_view AccessDenied = "Zugriff verweigert";
constexpr std::string_view Error = "Fehler";
constexpr std::string_view AbortWarn =
    "Wenn Sie auf \"Abbrechen\" bzw. \"Beenden\" klicken, wird das Programm beendet. Nicht "
    "gespeicherte Daten gehen dabei verloren.";
constexpr std::string_view IgnoreWarn =
    "Wenn Sie auf \"Ignorieren\" klicken, könnte dies zu Fehlfunktionen des Programms führen.";
}  // namespace Piece

struct Wording {
    std::string_view subject;
    std::string_view verb;
    bool reads;  // a failed read takes the stop icon and the warning about ignoring it
};

Wording WordingOf(RegOp operation) {
    switch (operation) {
        case RegOpRead:
            return {Piece::Val, Piece::Read, true};
        case RegOpWrite:
            return {Piece::Val, Piece::Written, false};
        case RegOpDeleteValue:
            return {Piece::Val, Piece::Deleted, false};
        case RegOpCreateKey:
            return {Piece::Key, Piece::Created, false};
        case RegOpDeleteKey:
            return {Piece::Key, Piece::Deleted, false};
        case RegOpEnumSubkeys:
            return {Piece::Subkeys, Piece::Enumed, true};
        case RegOpOpenForReading:
            return {Piece::Key, Piece::OpenRead, true};
        case RegOpOpenForWriting:
            break;
    }
    return {Piece::Key, Piece::OpenWrite, false};
}

std::string Subject(const Wording& wording, const std::string& valueName) {
    if (wording.subject != Piece::Val) {
        return std::string(wording.subject);
    }
    const std::string_view quote = valueName.empty() ? "" : "\"";
    return Joined({wording.subject, " ", quote,
                   valueName.empty() ? Piece::Default : std::string_view(valueName), quote, " ",
                   Piece::InKey});
}

std::string Reason(LONG code) {
    constexpr DWORD kLimit = 2048;
    if (code == ERROR_FILE_NOT_FOUND) {
        return std::string(Piece::NotFound);
    }
    if (code == ERROR_ACCESS_DENIED) {
        return std::string(Piece::AccessDenied);
    }
    return SystemText(static_cast<DWORD>(code), kLimit);
}

std::string Message(const Wording& wording, const std::string& valueName, HKEY root,
                    const std::string& key, LONG code) {
    const std::string reason = Reason(code);
    return Joined({Subject(wording, valueName),
                   " \"",
                   RootKeyName(root),
                   "\\",
                   key,
                   "\" ",
                   Piece::Could,
                   wording.verb,
                   Piece::Be,
                   reason.empty() ? "" : kParagraphBreak,
                   reason,
                   " (",
                   Piece::Error,
                   " ",
                   Decimal(code),
                   ")",
                   kParagraphBreak,
                   Piece::AbortWarn,
                   wording.reads ? kParagraphBreak : "",
                   wording.reads ? Piece::IgnoreWarn : ""});
}

}  // namespace

bool ReportRegError(RegOp operation, const std::string& valueName, HKEY root,
                    const std::string& key, LONG code) {
    const Wording wording = WordingOf(operation);
    const UINT icon = wording.reads ? MB_ICONHAND : MB_ICONEXCLAMATION;
    const int answer = ShowMessage(Message(wording, valueName, root, key, code),
                                   MB_ABORTRETRYIGNORE | MB_DEFBUTTON2 | icon);
    if (answer == IDABORT) {
        EndProgram();
    }
    // A box that could not be shown counts as Ignore: asking again might never end.
    return answer == IDRETRY;
}

}  // namespace modRegistry
