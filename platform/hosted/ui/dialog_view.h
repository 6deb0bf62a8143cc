// A dialog in the terminal: drawn below what stands there already, redrawn in place while it
// is the last thing there, and asking for keys if it has something to choose.
#pragma once

#include <optional>

#include "platform/hosted/ui/dialog.h"
#include "platform/hosted/ui/terminal.h"

namespace hosted {

struct DialogAction {
    enum class Kind { Button, Escape, Close } kind;
    std::size_t button = 0;
};

class DialogView {
 public:
    explicit DialogView(Dialog dialog);
    ~DialogView();
    DialogView(const DialogView&) = delete;
    DialogView& operator=(const DialogView&) = delete;

    void SetText(std::size_t index, std::string text);
    // Draws it if it would look different from before.
    void Redraw();
    // Handles one key, if it comes within so many milliseconds.
    std::optional<DialogAction> Poll(int milliseconds);
    // Leaves the dialog on the screen with that button as the chosen one.
    void ShowChoice(std::size_t button);

 private:
    std::optional<DialogAction> Handle(const KeyPress& press);
    std::optional<DialogAction> Choose(char letter) const;
    void MoveFocus(std::size_t steps);
    void Scroll(std::ptrdiff_t lines);
    void HandleArrow(Key key);

    Dialog dialog_;
    Picture shown_;
    TerminalSize size_{};
    std::optional<RawMode> raw_;
};

}  // namespace hosted
