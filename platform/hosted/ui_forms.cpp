// The program's forms on the hosted machine.
#include <algorithm>

#include "platform/forms.h"
#include "platform/hosted/clock.h"
#include "platform/hosted/form_window.h"
#include "platform/hosted/machine.h"

namespace forms {

struct Form::Window final : hosted::FormWindow {
    explicit Window(Form& owner) : FormWindow(owner.layout_), form(owner) {}

    void OnTimer() override {
        const hosted::ProgramScope program;
        form.Form_Timer();
    }
    void OnButton() override {
        const hosted::ProgramScope program;
        form.Button_Click();
    }
    void OnClose() override {
        const hosted::ProgramScope program;
        form.Form_Close();
    }

    Form& form;
};

namespace {

bool Exists(const hosted::FormWindow* window) {
    const auto& windows = hosted::FormWindows();
    return std::find(windows.begin(), windows.end(), window) != windows.end();
}

// Waits for what can happen next. False if that is nothing.
bool WaitForMessage() {
    std::optional<DWORD> next;
    bool asks = false;
    for (const hosted::FormWindow* const window : hosted::FormWindows()) {
        asks = asks || window->AsksUser();
        if (const std::optional<DWORD> due = window->UntilTimer()) {
            next = std::min(next.value_or(*due), *due);
        }
    }
    if (next && !asks) {  // asking waits by itself
        hosted::Pass(*next);
    }
    return next || asks;
}

}  // namespace

Form::Form(const Layout& layout) : layout_(layout) {
    // So that the machine is there before any form and outlives even a static one.
    hosted::FormWindows();
}

Form::~Form() {
    Unload();
}

bool Form::Load() {
    if (window_ != nullptr) {
        return true;
    }
    const hosted::Call call("CreateWindowExA", std::string(layout_.name));
    if (call.Refused()) {
        return false;
    }
    window_ = std::make_unique<Window>(*this);
    bool loaded = false;
    {
        const hosted::ProgramScope program;
        loaded = Form_Load();
    }
    if (!loaded) {
        Unload();
        return false;
    }
    if (window_ != nullptr) {
        window_->StartTimer();
    }
    return true;
}

bool Form::Show() {
    if (!Load()) {
        return false;
    }
    if (window_ != nullptr) {  // unless its own load event has unloaded it
        window_->Show();
    }
    return true;
}

void Form::Refresh() {
    if (window_ != nullptr) {
        window_->Redraw();
    }
}

void Form::Unload() {
    window_.reset();
}

bool Form::IsLoaded() const {
    return window_ != nullptr;
}

bool Form::SetText(std::size_t control, std::string_view text) {
    if (!Load()) {
        return false;
    }
    const hosted::Call call("SetWindowTextA", std::string(layout_.controls[control].name));
    if (call.Refused()) {
        return false;
    }
    window_->SetText(control, text);
    return true;
}

void ProcessMessages() {
    // A handler may unload any of the windows, and load others.
    const std::vector<hosted::FormWindow*> windows = hosted::FormWindows();
    for (hosted::FormWindow* const window : windows) {
        if (Exists(window)) {
            window->FireTimerIfDue();
        }
    }
    for (auto window = windows.rbegin(); window != windows.rend(); ++window) {
        if (Exists(*window) && (*window)->LetUserAct()) {
            return;
        }
    }
}

void RunMessageLoop() {
    while (!hosted::FormWindows().empty()) {
        if (!WaitForMessage()) {
            hosted::Note("the program waits for a window that nothing can happen to any more");
            return;
        }
        ProcessMessages();
    }
}

HWND OwnerWindow() {
    const auto& windows = hosted::FormWindows();
    const bool shown = !windows.empty() && windows.back()->IsShown();
    return shown ? reinterpret_cast<HWND>(windows.back()) : nullptr;
}

}  // namespace forms
