#include "common/modGeneral.h"

#include <cstring>

#include "common/modRuntimeError.h"
#include "platform/ansi.h"
#include "platform/forms.h"
#include "platform/handles.h"

namespace {

constexpr std::string_view kVersion = ":2:0:33";
constexpr std::string_view kContactPage = "https://www.verlonix.example/Kontakt";
constexpr std::size_t kDescriptionLimit = 480;

std::string ErrorIdentifier(std::uint8_t procedure, std::uint8_t place, std::int32_t number) {
    return Joined({AppTitle, kVersion, ":", std::to_string(procedure), ":", std::to_string(place),
                   ":", std::to_string(number)});
}

// The description with its further lines indented like the first one.
std::string Indented(std::string_view description) {
    std::string text;
    for (const char character : description) {
        text += character;
        if (character == '\n') {
            text += '\t';
        }
    }
    return text.substr(0, kDescriptionLimit);
}

std::string Opening(const RuntimeError& error, std::int32_t number) {
    if (error.number != number || error.description.empty()) {
        return "Ein Fehler ist aufgetreten.\r\n\r\n";
    }
    return Joined(
        {"Der folgende Fehler ist aufgetreten:\r\n\t", Indented(error.description), "\r\n\r\n"});
}

std::string LongForm(const RuntimeError& error, std::int32_t number, bool fatal,
                     std::string_view identifier) {
    return Joined(
        {Opening(error, number),
         fatal ? "Dieser Fehler ist schwerwiegend; das Programm wird beendet.\r\n\r\n" : "",
         "Falls Sie mithelfen möchten, dieses Problem in zukünftigen Versionen von "_ansi, AppTitle,
         " zu beseitigen, so wenden Sie sich bitte an den Entwickler (Kontaktdaten auf ",
         kContactPage, ") und geben Sie unbedingt die Fehlerkennung \"", identifier,
         "\" und möglichst genaue Informationen an, unter welchen Umständen der Fehler aufgetreten ist."_ansi});
}

// SetClipboardData takes the memory over when it succeeds; until then it stays ours.
void CopyToClipboard(const std::string& text) {
    const handles::Clipboard clipboard(forms::OwnerWindow());
    if (!clipboard.IsOpen() || EmptyClipboard() == FALSE) {
        return;
    }
    handles::GlobalMemory memory(GlobalAlloc(GMEM_MOVEABLE, text.size() + 1));
    void* const bytes = memory ? GlobalLock(memory.Get()) : nullptr;
    if (bytes == nullptr) {
        return;
    }
    std::memcpy(bytes, text.c_str(), text.size() + 1);
    GlobalUnlock(memory.Get());
    if (SetClipboardData(CF_TEXT, memory.Get()) != nullptr) {
        static_cast<void>(memory.Release());
    }
}

void ShowShortForm(const std::string& identifier) {
    ShowMessage(Joined({"Nicht genügend Arbeitsspeicher oder Systemressourcen verfügbar."_ansi,
                        " (Fehlerkennung \"", identifier, "\")"}),
                MB_OK | MB_ICONHAND | MB_SYSTEMMODAL);
}

void ShowLongForm(const RuntimeError& error, std::int32_t number, bool fatal,
                  const std::string& identifier) {
    const std::string message = LongForm(error, number, fatal, identifier);
    const std::string question =
        Joined({message, "\r\n\r\nMöchten Sie diese Meldung in die Zwischenablage kopieren?"_ansi});
    const UINT icon = fatal ? MB_ICONHAND : MB_ICONEXCLAMATION;
    if (ShowMessage(question, MB_YESNO | icon) == IDYES) {
        CopyToClipboard(message + "\r\n");
    }
}

}  // namespace

int ShowMessage(const std::string& text, UINT style) {
    return MessageBoxA(forms::OwnerWindow(), text.c_str(), AppTitle, style);
}

std::string Joined(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts) {
        text += part;
    }
    return text;
}

std::string AddBackslash(std::string_view path) {
    std::string result(path);
    if (!result.empty() && result.back() != '\\') {
        result += '\\';
    }
    return result;
}

std::string UpperCase(std::string_view text) {
    std::string result(text);
    CharUpperBuffA(result.data(), static_cast<DWORD>(result.size()));
    return result;
}

bool EqualIgnoringCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() && UpperCase(left) == UpperCase(right);
}

void EndProgram() noexcept {
    for (;;) {
        TerminateProcess(GetCurrentProcess(), 1);
        Sleep(1);
    }
}

void ReportError(std::uint8_t procedure, std::uint8_t place, std::int32_t number, bool fatal,
                 bool shortForm) noexcept {
    RuntimeError& pending = CurrentError();
    try {
        const std::string identifier = ErrorIdentifier(procedure, place, number);
        if (number == ErrorNumber::OutOfMemory && shortForm) {
            ShowShortForm(identifier);
        } else {
            ShowLongForm(pending, number, fatal, identifier);
        }
    } catch (...) {
        // A report that cannot be shown must still end a program that asked to be ended:
        // there is nobody left to tell.
    }
    if (fatal) {
        EndProgram();
    }
    pending.number = 0;
    pending.description.clear();
}
