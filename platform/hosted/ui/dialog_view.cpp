#include "platform/hosted/ui/dialog_view.h"

#include <algorithm>

#include "platform/hosted/machine.h"

namespace hosted {
namespace {

// What was drawn last: only that can be drawn over.
struct Screen {
    const DialogView* last = nullptr;
};

Screen& TheScreen() {
    return Machine::Current().Part<Screen>();
}

}  // namespace

DialogView::DialogView(Dialog dialog) : dialog_(std::move(dialog)) {
    if (!dialog_.buttons.empty() || dialog_.closeBox) {
        raw_.emplace();
    }
    Redraw();
}

DialogView::~DialogView() {
    if (TheScreen().last == this) {
        TheScreen().last = nullptr;
    }
}

void DialogView::SetText(std::size_t index, std::string text) {
    dialog_.texts[index].text = std::move(text);
}

void DialogView::Redraw() {
    const TerminalSize size = SizeOfTerminal();
    const Canvas canvas{size.columns, size.rows, HasEscapeSequences(), HasColours()};
    Picture picture = Draw(dialog_, canvas);
    if (picture.lines == shown_.lines) {
        return;
    }
    std::string output;
    // After a change of size the lines are no longer where they were.
    if (TheScreen().last == this && size == size_ && HasEscapeSequences()) {
        output = "\x1b[" + std::to_string(shown_.lines.size()) + "A\r\x1b[J";
    }
    for (const std::string& line : picture.lines) {
        output.append(line).append("\r\n");
    }
    WriteTerminal(output);
    shown_ = std::move(picture);
    size_ = size;
    TheScreen().last = this;
}

std::optional<DialogAction> DialogView::Poll(int milliseconds) {
    const std::optional<KeyPress> press = ReadKey(milliseconds);
    std::optional<DialogAction> action;
    if (press) {
        action = Handle(*press);
    } else if (SizeOfTerminal() == size_) {
        return std::nullopt;
    }
    Redraw();
    return action;
}

void DialogView::ShowChoice(std::size_t button) {
    dialog_.focus = button;
    Redraw();
}

std::optional<DialogAction> DialogView::Handle(const KeyPress& press) {
    using Kind = DialogAction::Kind;
    switch (press.key) {
        case Key::Enter:
            return DialogAction{Kind::Button, dialog_.focus};
        case Key::Escape:
            return DialogAction{Kind::Escape};
        case Key::Close:
            return DialogAction{Kind::Close};
        case Key::Character:
            return Choose(press.character);
        case Key::Tab:
            MoveFocus(1);
            break;
        case Key::BackTab:
            MoveFocus(dialog_.buttons.size() - 1);
            break;
        default:
            HandleArrow(press.key);
    }
    return std::nullopt;
}

// Text fields take part in the tab order on a real screen; here the arrows always reach
// the field, so there is nothing to go to.
void DialogView::HandleArrow(Key key) {
    const auto page = static_cast<std::ptrdiff_t>(shown_.scrollPage);
    const auto end = static_cast<std::ptrdiff_t>(shown_.scrollEnd);
    const bool scrolls = end > 0;
    switch (key) {
        case Key::Left:
            return MoveFocus(dialog_.buttons.size() - 1);
        case Key::Right:
            return MoveFocus(1);
        case Key::Up:
            return scrolls ? Scroll(-1) : MoveFocus(dialog_.buttons.size() - 1);
        case Key::Down:
            return scrolls ? Scroll(1) : MoveFocus(1);
        case Key::PageUp:
            return Scroll(-page);
        case Key::PageDown:
            return Scroll(page);
        case Key::Home:
            return Scroll(-end);
        case Key::End:
            return Scroll(end);
        default:
            return;
    }
}

std::optional<DialogAction> DialogView::Choose(char letter) const {
    using Kind = DialogAction::Kind;
    if (letter == ' ') {
        return DialogAction{Kind::Button, dialog_.focus};
    }
    const std::string_view wanted(&letter, 1);
    for (std::size_t i = 0; i < dialog_.buttons.size(); ++i) {
        const DialogButton& button = dialog_.buttons[i];
        if (EqualIgnoringCase(button.label.substr(button.access, 1), wanted)) {
            return DialogAction{Kind::Button, i};
        }
    }
    if (dialog_.closeBox && EqualIgnoringCase(wanted, "x")) {
        return DialogAction{Kind::Close};
    }
    return std::nullopt;
}

void DialogView::MoveFocus(std::size_t steps) {
    if (!dialog_.buttons.empty()) {
        dialog_.focus = (dialog_.focus + steps) % dialog_.buttons.size();
    }
}

void DialogView::Scroll(std::ptrdiff_t lines) {
    const auto end = static_cast<std::ptrdiff_t>(shown_.scrollEnd);
    const auto now = std::min(static_cast<std::ptrdiff_t>(dialog_.scrolled), end);
    dialog_.scrolled = static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(now + lines, 0, end));
}

}  // namespace hosted
