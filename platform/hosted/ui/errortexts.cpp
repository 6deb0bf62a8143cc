// The system's texts for its error codes, as a German Windows words them: for the codes that
// this layer gives.
#include <map>

#include "platform/hosted/call.h"

namespace hosted {
namespace {

constexpr DWORD kNoSuchMessage = 317;  // ERROR_MR_MID_NOT_FOUND

const std::map<DWORD, std::string_view>& ErrorTexts() {
    static const std::map<DWORD, std::string_view> texts{
        {2, "Das System kann die angegebene Datei nicht finden."},
        {3, "Das System kann den angegebenen Pfad nicht finden."},
        {5, "Zugriff verweigert"},
        {8, "Für diesen Befehl ist nicht genügend Speicher verfügbar."},
        {21, "Das Gerät ist nicht bereit."},
        {32,
         "Der Prozess kann nicht auf die Datei zugreifen, da sie von einem anderen Prozess "
         "verwendet wird."},
        {80, "Die Datei ist vorhanden."},
        {87, "Falscher Parameter."},
        {112, "Es steht nicht genug Speicherplatz auf dem Datenträger zur Verfügung."},
        {123,
         "Die Syntax für den Dateinamen, Verzeichnisnamen oder die Datenträgerbezeichnung ist "
         "falsch."},
        {183, "Eine Datei kann nicht erstellt werden, wenn sie bereits vorhanden ist."},
        {193, "%1 ist keine zulässige Win32-Anwendung."},
        {206, "Der Dateiname oder die Erweiterung ist zu lang."},
        {234, "Es sind mehr Daten verfügbar."},
        {267, "Der Verzeichnisname ist ungültig."},
        {1018,
         "Es wurde versucht, einen unzulässigen Vorgang für einen Registrierungsschlüssel "
         "auszuführen, der zum Löschen markiert ist."},
        {1450, "Nicht genügend Systemressourcen, um den angeforderten Dienst auszuführen."},
        {1812, "Die angegebene Imagedatei enthielt keinen Ressourcenbereich."},
        {1813, "Der angegebene Ressourcentyp wurde nicht in der Imagedatei gefunden."},
        {1814, "Der angegebene Ressourcenname wurde nicht in der Imagedatei gefunden."},
    };
    return texts;
}

}  // namespace
}  // namespace hosted

// Only the system's own texts. The program has no arguments for their insert sequences: a
// text with some fails.
DWORD WINAPI FormatMessageA(DWORD /*flags*/, LPCVOID, DWORD messageId, DWORD, LPSTR buffer,
                            DWORD size, char**) {
    hosted::Call call("FormatMessageA");
    const auto found = hosted::ErrorTexts().find(messageId);
    const bool known = found != hosted::ErrorTexts().end();
    const std::string text = known ? hosted::FromUtf8(found->second) + "\r\n" : "";
    const bool hasInserts = text.find('%') != std::string::npos;
    const BOOL given = call.Run([&]() -> DWORD {
        return !known                ? hosted::kNoSuchMessage
               : text.size() >= size ? ERROR_INSUFFICIENT_BUFFER
               : hasInserts          ? ERROR_INVALID_PARAMETER
                                     : ERROR_SUCCESS;
    });
    if (given == FALSE) {
        return 0;
    }
    buffer[text.copy(buffer, size)] = '\0';
    return static_cast<DWORD>(text.size());
}
