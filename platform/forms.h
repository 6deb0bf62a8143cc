// The program's windows, behind one small abstraction: forms with a fixed frame, laid
// out in twips (1/1440 inch), shown without being modal. platform/windows makes user32
// windows of them, platform/hosted shows them in the terminal. All texts are
// Windows-1252. One thread only.
#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "platform/win32.h"

namespace forms {

// Position and size in twips, relative to the form's client area.
struct Place {
    int left, top, width, height;
};

enum class ControlKind {
    Label,
    CentredLabel,
    TextBox,  // several lines, vertical scroll bar, read-only, colours of a button
    Button,   // the form's default (Enter) and cancel (Escape) button
};

struct Control {
    std::string_view name;
    ControlKind kind;
    Place place;
    std::string_view text;  // "&" marks the access key of a button; labels are taken literally
};

struct Layout {
    std::string_view name;
    std::string_view title;
    int width, height;                  // client area in twips
    bool closeBox;                      // false: greyed, and nothing else closes the window
    unsigned timerInterval;             // milliseconds from loading to Form_Timer; 0: no timer
    std::span<const Control> controls;  // in tab order
};

class Form {
 public:
    // Creates the object only; the window comes with Load. layout must outlive the form.
    explicit Form(const Layout& layout);
    virtual ~Form();
    Form(const Form&) = delete;
    Form& operator=(const Form&) = delete;

    // Creates the window invisibly, centred on the screen, then runs Form_Load and starts
    // the timer. Loading a loaded form does nothing. False, with the last error code set,
    // when the system cannot create it.
    [[nodiscard]] bool Load();
    // Loads the form if needed and shows it without making it modal. False as for Load.
    [[nodiscard]] bool Show();
    // Redraws a loaded form at once.
    void Refresh();
    // Destroys the window; the object keeps its fields. Unloading twice does nothing.
    void Unload();
    [[nodiscard]] bool IsLoaded() const;
    // Sets the text of the control at that position of the layout; loads the form if
    // needed. Any length. False when the form cannot be loaded or the text not set.
    [[nodiscard]] bool SetText(std::size_t control, std::string_view text);

 protected:
    // False: loading fails, the form is unloaded again, with the last error code kept. A
    // form may also unload itself here, and then stays so.
    virtual bool Form_Load() { return true; }
    // Runs once per load, timerInterval milliseconds after it: never a second time, also
    // not while it runs and processes messages itself.
    virtual void Form_Timer() {}
    // The button was clicked, or chosen by Enter, Escape or its access key.
    virtual void Button_Click() {}
    // The user asked to close the window (close box, system menu). The form stays loaded
    // unless the handler unloads it.
    virtual void Form_Close() {}

 private:
    struct Window;
    friend struct Window;
    const Layout& layout_;
    std::unique_ptr<Window> window_;
};

// Handles every pending window message (events of the forms included) and returns.
void ProcessMessages();

// Handles messages until no form is loaded; returns at once when none is.
void RunMessageLoop();

// The window that a message box belongs to: the form shown last that is still loaded. Null
// without one.
[[nodiscard]] HWND OwnerWindow();

}  // namespace forms
