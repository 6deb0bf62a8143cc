// The system's texts for its error codes, as a German Windows words them.
#include <algorithm>
#include <array>
#include <cstring>

#include "platform/ansi.h"
#include "platform/hosted/machine.h"

namespace hosted {
namespace {

constexpr DWORD kNoSuchMessage = 317;  // ERROR_MR_MID_NOT_FOUND
constexpr std::string_view kLineEnd = "\r\n";

struct ErrorText {
    DWORD code;
    std::string_view text;  // without its line end
};

constexpr std::array kErrorTexts{
    ErrorText{0, "Der Vorgang wurde erfolgreich beendet."},
    ErrorText{1, "Unzulässige Funktion."_ansi},
    ErrorText{2, "Das System kann die angegebene Datei nicht finden."},
    ErrorText{3, "Das System kann den angegebenen Pfad nicht finden."},
    ErrorText{4, "Das System kann die Datei nicht öffnen."_ansi},
    ErrorText{5, "Zugriff verweigert"},
    ErrorText{6, "Das Handle ist ungültig."_ansi},
    ErrorText{7, "Die Speichersteuerblöcke wurden zerstört."_ansi},
    ErrorText{8, "Für diesen Befehl ist nicht genügend Speicher verfügbar."_ansi},
    ErrorText{14, "Für diesen Vorgang ist nicht genügend Speicher verfügbar."_ansi},
    ErrorText{15, "Das System kann das angegebene Laufwerk nicht finden."},
    ErrorText{18, "Es sind keine weiteren Dateien vorhanden."},
    ErrorText{19, "Das Medium ist schreibgeschützt."_ansi},
    ErrorText{20, "Das System kann das angegebene Gerät nicht finden."_ansi},
    ErrorText{21, "Das Gerät ist nicht bereit."_ansi},
    ErrorText{29, "Das System kann auf das angegebene Gerät nicht schreiben."_ansi},
    ErrorText{30, "Das System kann von dem angegebenen Gerät nicht lesen."_ansi},
    ErrorText{32,
              "Der Prozess kann nicht auf die Datei zugreifen, da sie von einem anderen Prozess "
              "verwendet wird."},
    ErrorText{33,
              "Der Prozess kann nicht auf die Datei zugreifen, da ein anderer Prozess einen Teil "
              "der Datei gesperrt hat."},
    ErrorText{
        34,
        "Die falsche Diskette befindet sich im Laufwerk.\r\nLegen Sie %2 (Datenträgernummer: %3) in Laufwerk %1 ein."_ansi},
    ErrorText{39, "Der Datenträger ist voll."_ansi},
    ErrorText{50, "Die Anforderung wird nicht unterstützt."_ansi},
    ErrorText{53, "Der Netzwerkpfad wurde nicht gefunden."},
    ErrorText{65, "Der Zugriff auf das Netzwerk wurde verweigert."},
    ErrorText{80, "Die Datei ist vorhanden."},
    ErrorText{82, "Das Verzeichnis oder die Datei kann nicht erstellt werden."},
    ErrorText{87, "Falscher Parameter."},
    ErrorText{89, "Das System kann zurzeit keinen weiteren Prozess starten."},
    ErrorText{103, "Das Semaphor kann nicht erneut gesetzt werden."},
    ErrorText{110,
              "Das System kann das angegebene Gerät oder die angegebene Datei nicht öffnen."_ansi},
    ErrorText{111, "Der Dateiname ist zu lang."},
    ErrorText{112, "Es steht nicht genug Speicherplatz auf dem Datenträger zur Verfügung."_ansi},
    ErrorText{122, "Der an einen Systemaufruf übergebene Datenbereich ist zu klein."_ansi},
    ErrorText{
        123,
        "Die Syntax für den Dateinamen, Verzeichnisnamen oder die Datenträgerbezeichnung ist falsch."_ansi},
    ErrorText{124, "Die Systemaufrufebene ist falsch."},
    ErrorText{127, "Die angegebene Prozedur wurde nicht gefunden."},
    ErrorText{145, "Das Verzeichnis ist nicht leer."},
    ErrorText{161, "Der angegebene Pfadname ist ungültig."_ansi},
    ErrorText{183, "Eine Datei kann nicht erstellt werden, wenn sie bereits vorhanden ist."},
    ErrorText{193, "%1 ist keine zulässige Win32-Anwendung."_ansi},
    ErrorText{206, "Der Dateiname oder die Erweiterung ist zu lang."},
    ErrorText{
        225,
        "Der Vorgang konnte nicht erfolgreich abgeschlossen werden, da die Datei einen Virus oder möglicherweise unerwünschte Software enthält."_ansi},
    ErrorText{234, "Es sind mehr Daten verfügbar."_ansi},
    ErrorText{259, "Es sind keine Daten mehr verfügbar."_ansi},
    ErrorText{267, "Der Verzeichnisname ist ungültig."_ansi},
    ErrorText{995,
              "Der E/A-Vorgang wurde wegen eines Threadendes oder einer Anwendungsanforderung "
              "abgebrochen."},
    ErrorText{998, "Unzulässiger Zugriff auf einen Speicherbereich."_ansi},
    ErrorText{1009, "Die Konfigurationsregistrierungsdatenbank ist beschädigt."_ansi},
    ErrorText{1010, "Der Konfigurationsregistrierungsschlüssel ist unzulässig."_ansi},
    ErrorText{1011, "Der Konfigurationsregistrierungsschlüssel konnte nicht geöffnet werden."_ansi},
    ErrorText{
        1015,
        "Die Registrierungsdatenbank ist beschädigt. Die Struktur einer Datei, die Registrierungsdaten enthält, oder die Systemdarstellung der Datei im Speicher ist beschädigt, oder die Datei konnte nicht wiederhergestellt werden, da die Ersatzkopie oder das Protokoll fehlt oder beschädigt ist."_ansi},
    ErrorText{
        1016,
        "In einem E/A-Vorgang der Registrierungsdatenbank ist ein nicht behebbarer Fehler aufgetreten. Die Registrierungsdatenbank konnte eine der Dateien, die ihre Systemdarstellung enthalten, nicht lesen, schreiben oder leeren."_ansi},
    ErrorText{
        1017,
        "Das System hat versucht, eine Datei in die Registrierungsdatenbank zu laden oder dort wiederherzustellen. Die angegebene Datei hat jedoch nicht das Format einer Registrierungsdatei."_ansi},
    ErrorText{
        1018,
        "Es wurde versucht, einen unzulässigen Vorgang für einen Registrierungsschlüssel auszuführen, der zum Löschen markiert ist."_ansi},
    ErrorText{
        1020,
        "In einem Registrierungsschlüssel, der bereits Unterschlüssel oder Werte enthält, kann keine symbolische Verknüpfung erstellt werden."_ansi},
    ErrorText{
        1021,
        "Es kann kein stabiler Unterschlüssel unter einem flüchtigen übergeordneten Schlüssel erstellt werden."_ansi},
    ErrorText{1223, "Der Vorgang wurde durch den Benutzer abgebrochen."},
    ErrorText{1392, "Die Datei oder das Verzeichnis ist beschädigt und nicht lesbar."_ansi},
    ErrorText{1450,
              "Nicht genügend Systemressourcen, um den angeforderten Dienst auszuführen."_ansi},
    ErrorText{1455, "Die Auslagerungsdatei ist zu klein, um diesen Vorgang durchzuführen."_ansi},
    ErrorText{1812, "Die angegebene Imagedatei enthielt keinen Ressourcenbereich."},
    ErrorText{1813, "Der angegebene Ressourcentyp wurde nicht in der Imagedatei gefunden."},
    ErrorText{1814, "Der angegebene Ressourcenname wurde nicht in der Imagedatei gefunden."},
};

static_assert(std::is_sorted(kErrorTexts.begin(), kErrorTexts.end(),
                             [](const auto& a, const auto& b) { return a.code < b.code; }));

const ErrorText* Find(DWORD code) {
    const auto* const found =
        std::lower_bound(kErrorTexts.begin(), kErrorTexts.end(), code,
                         [](const ErrorText& entry, DWORD wanted) { return entry.code < wanted; });
    return found != kErrorTexts.end() && found->code == code ? found : nullptr;
}

bool HasInserts(std::string_view text) {
    return text.find('%') != std::string_view::npos;
}

}  // namespace
}  // namespace hosted

// Only the system's own texts. The program has no arguments for their insert sequences: a
// text with some fails unless it is asked for as it stands.
DWORD WINAPI FormatMessageA(DWORD flags, LPCVOID, DWORD messageId, DWORD, LPSTR buffer, DWORD size,
                            va_list_arguments*) {
    hosted::Call call("FormatMessageA");
    const auto fail = [&call](LONG code) {
        call.Fail(static_cast<DWORD>(code));
        return DWORD{0};
    };
    if (call.Refused()) {
        return 0;
    }
    const auto* const found = hosted::Find(messageId);
    if ((flags & FORMAT_MESSAGE_FROM_SYSTEM) == 0 || found == nullptr) {
        return fail(found == nullptr ? hosted::kNoSuchMessage : ERROR_INVALID_PARAMETER);
    }
    const std::string_view text = found->text;
    if ((flags & FORMAT_MESSAGE_IGNORE_INSERTS) == 0 && hosted::HasInserts(text)) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    const std::size_t length = text.size() + hosted::kLineEnd.size();
    if (buffer == nullptr || length >= size) {
        return fail(ERROR_INSUFFICIENT_BUFFER);
    }
    std::memcpy(buffer, text.data(), text.size());
    std::memcpy(buffer + text.size(), hosted::kLineEnd.data(), hosted::kLineEnd.size());
    buffer[length] = '\0';
    return static_cast<DWORD>(length);
}
