// The reports that end the program are made in fixed memory: where there is none left, the
// user is still told what has failed.
#include "common/modGeneral.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

#include "common/modText.h"
#include "platform/forms.h"
#include "platform/handles.h"

namespace {

constexpr std::string_view kVersion = ":2:0:33";
constexpr std::string_view kContactPage = "https://www.verlonix.example/Kontakt";
constexpr std::size_t kDescriptionLimit = 480;

// A text in memory of its own, long enough for each one here: a report must not ask for any.
class FixedText {
 public:
    FixedText& operator<<(std::string_view text) {
        length_ += text.copy(&text_[length_], text_.size() - 1 - length_);
        text_[length_] = '\0';
        return *this;
    }
    FixedText& operator<<(std::int32_t number) {
        std::array<char, 12> digits{};
        const char* const end =
            std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
        return *this << std::string_view(digits.data(),
                                         static_cast<std::size_t>(end - digits.data()));
    }
    [[nodiscard]] const char* Get() const { return text_.data(); }  // ends in a NUL
    [[nodiscard]] std::size_t Length() const { return length_; }
    // Keeps no more than that, until the next text is appended.
    void Cut(std::size_t length) { length_ = std::min(length_, length); }

 private:
    std::array<char, 2048> text_{};
    std::size_t length_ = 0;
};

FixedText ErrorIdentifier(Procedure procedure, std::uint8_t place, std::int32_t number) {
    FixedText text;
    text << AppTitle << kVersion << ":" << static_cast<std::int32_t>(procedure) << ":" << place
         << ":" << number;
    return text;
}

// The description with its further lines indented like the first one.
void AppendIndented(FixedText& text, std::string_view description) {
    const std::size_t limit = text.Length() + kDescriptionLimit;
    for (const char& character : description) {
        text << std::string_view(&character, 1) << (character == '\n' ? "\t" : "");
    }
    text.Cut(limit);
}

FixedText Message(const RuntimeError& error, std::int32_t number, Fatal fatal,
                  const FixedText& identifier) {
    FixedText text;
    if (error.number != number || error.description.empty()) {
        text << "Ein Fehler ist aufgetreten.";
    } else {
        text << "Der folgende Fehler ist aufgetreten:\r\n\t";
        AppendIndented(text, error.description);
    }
    text << kParagraphBreak;
    if (fatal == Fatal::Yes) {
        text << "Dieser Fehler ist schwerwiegend; das Programm wird beendet.\r\n\r\n";
    }
    text << "Falls Sie mithelfen möchten, dieses Problem in zukünftigen Versionen von " << AppTitle
         << " zu beseitigen, so wenden Sie sich bitte an den Entwickler (Kontaktdaten auf "
         << kContactPage << ") und geben Sie unbedingt die Fehlerkennung \"" << identifier.Get()
         << "\" und möglichst genaue Informationen an, unter welchen Umständen der Fehler "
            "aufgetreten ist.";
    return text;
}

// SetClipboardData takes the memory over when it succeeds; until then it stays ours. It takes
// none for a clipboard that was opened without a window and emptied, so there is one for the
// moment. What cannot be emptied may still be written to.
void CopyToClipboard(const FixedText& text) {
    const handles::Window owner(
        CreateWindowExA(0, "Static", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr));
    const handles::Clipboard clipboard(owner.Get());
    if (!clipboard.IsOpen()) {
        return;
    }
    EmptyClipboard();
    handles::GlobalMemory memory(GlobalAlloc(GMEM_MOVEABLE, text.Length() + 1));
    void* const bytes = memory ? GlobalLock(memory.Get()) : nullptr;
    if (bytes == nullptr) {
        return;
    }
    std::memcpy(bytes, text.Get(), text.Length() + 1);
    GlobalUnlock(memory.Get());
    if (SetClipboardData(CF_TEXT, memory.Get()) != nullptr) {
        static_cast<void>(memory.Release());
    }
}

// A box belongs to the form that is open. Without one it asks for the foreground itself, so that
// it does not open behind the windows of other programs.
int ShowBox(const char* text, UINT style) {
    HWND owner = forms::OwnerWindow();
    return MessageBoxA(owner, text, AppTitle, owner == nullptr ? style | MB_SETFOREGROUND : style);
}

void ShowShortForm(const FixedText& identifier) {
    FixedText text;
    text << "Nicht genügend Arbeitsspeicher oder Systemressourcen verfügbar."
         << " (Fehlerkennung \"" << identifier.Get() << "\")";
    ShowBox(text.Get(), MB_OK | MB_ICONHAND | MB_SYSTEMMODAL);
}

void ShowLongForm(FixedText message, Fatal fatal) {
    const std::size_t end = message.Length();
    message << kParagraphBreak << "Möchten Sie diese Meldung in die Zwischenablage kopieren?";
    const UINT icon = fatal == Fatal::Yes ? MB_ICONHAND : MB_ICONEXCLAMATION;
    if (ShowBox(message.Get(), MB_YESNO | icon) == IDYES) {
        message.Cut(end);
        CopyToClipboard(message << kLineBreak);
    }
}

}  // namespace

int ShowMessage(const std::string& text, UINT style) {
    return ShowBox(text.c_str(), style);
}

std::string AddBackslash(std::string_view path) {
    std::string result(path);
    if (!result.empty() && result.back() != '\\') {
        result += '\\';
    }
    return result;
}

void EndProgram() {
    for (;;) {
        TerminateProcess(GetCurrentProcess(), 1);
        Sleep(1);
    }
}

void ReportError(Procedure procedure, std::uint8_t place, std::int32_t number, Fatal fatal,
                 ShortForm shortForm) {
    const FixedText identifier = ErrorIdentifier(procedure, place, number);
    if (number == ErrorNumber::OutOfMemory && shortForm == ShortForm::Yes) {
        ShowShortForm(identifier);
    } else {
        ShowLongForm(Message(CurrentError, number, fatal, identifier), fatal);
    }
    if (fatal == Fatal::Yes) {
        EndProgram();
    }
    CurrentError = {};
}

void CheckPoint(Procedure procedure, std::uint8_t place) {
    if (CurrentError.Failed()) {
        ReportError(procedure, place, CurrentError.number, Fatal::Yes, ShortForm::Yes);
    }
    NextCheckPoint = {procedure, static_cast<std::uint8_t>(place + 1)};
}

void EndWithoutMemory() {
    ReportError(NextCheckPoint.procedure, NextCheckPoint.place, ErrorNumber::OutOfMemory,
                Fatal::Yes, ShortForm::Yes);
    EndProgram();
}
