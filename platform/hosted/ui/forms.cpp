// The program's forms in the sandbox: texts, printed and recorded.
#include "platform/forms.h"

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

#include "platform/hosted/registry/registry.h"
#include "platform/hosted/ui/ui.h"

namespace hosted {

// The window of a loaded form.
struct Window {
    explicit Window(const forms::Layout& formLayout) : layout(formLayout) {
        for (const forms::Control& control : layout.controls) {
            texts.emplace_back(control.text);
        }
        Ui().windows.insert(Ui().windows.begin(), this);
    }
    ~Window() {
        Record("unload", {layout.name});
        std::erase(Ui().windows, this);
    }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    [[nodiscard]] bool IsButton(std::size_t control) const {
        return layout.controls[control].kind == forms::ControlKind::Button;
    }
    [[nodiscard]] bool HasButton() const {
        return std::any_of(layout.controls.begin(), layout.controls.end(), [](const auto& control) {
            return control.kind == forms::ControlKind::Button;
        });
    }
    void Show();
    void ShowText(std::size_t control) const;

    const forms::Layout& layout;
    std::map<std::string_view, std::function<void()>> handlers;  // the program's, by event
    std::vector<std::string> texts;                              // by control
    bool timerRuns = false;
    bool shown = false;
};

void Window::Show() {
    shown = true;
    Record("show", {layout.name, layout.title});
    Print("\n== " + std::string(layout.title) + " ==" + (layout.closeBox ? " [x]" : "") + "\n");
    for (std::size_t i = 0; i < texts.size(); ++i) {
        ShowText(i);
    }
}

void Window::ShowText(std::size_t control) const {
    if (!IsButton(control)) {
        Record("text", {layout.name, layout.controls[control].name, texts[control]});
        Print(texts[control] + "\n");
    }
}

namespace {

// Lets the user do one thing to the window.
std::string_view NextEvent(const Window& window) {
    SaveRegistry();
    Choices choices{{"click ok enter escape alt+o", "OK"}};
    if (window.layout.closeBox) {
        choices.push_back({"close alt+f4", "x"});
    }
    return Ask(choices, 0) == 0 ? "click" : "close";
}

// The window may be gone afterwards.
void Raise(const Window& window, std::string_view event) {
    Record("event", {window.layout.name, event});
    const std::function<void()> handler = window.handlers.at(event);
    const ProgramScope program;
    handler();
}

// Handles the next thing that happens: a timer, or what the user does to the window shown
// last, if it has something to choose. False if that is nothing.
bool HandleMessage() {
    const std::vector<Window*>& windows = Ui().windows;
    for (Window* const window : windows) {
        if (std::exchange(window->timerRuns, false)) {
            Pass(window->layout.timerInterval);  // nothing else happens meanwhile
            Raise(*window, "timer");
            return true;
        }
    }
    if (windows.empty() || !windows.back()->shown || !windows.back()->HasButton()) {
        return false;
    }
    Raise(*windows.back(), NextEvent(*windows.back()));
    return true;
}

}  // namespace
}  // namespace hosted

namespace forms {

using hosted::LayerScope;

struct Form::Window : hosted::Window {
    using hosted::Window::Window;
};

Form::Form(const Layout& layout) : layout_(layout) {}

Form::~Form() {
    Unload();
}

bool Form::Load() {
    const LayerScope layer;
    if (window_ != nullptr) {
        return true;
    }
    if (hosted::Call("CreateWindowExA", layout_.name).Run() == FALSE) {
        return false;
    }
    window_ = std::make_unique<Window>(layout_);
    window_->handlers = {{"timer", [this] { Form_Timer(); }},
                         {"click", [this] { Button_Click(); }},
                         {"close", [this] { Form_Close(); }}};
    bool loads = false;
    {
        const hosted::ProgramScope program;
        loads = Form_Load();
    }
    if (!loads) {
        Unload();
        return false;
    }
    window_->timerRuns = layout_.timerInterval > 0;
    return true;
}

bool Form::Show() {
    const LayerScope layer;
    if (!Load()) {
        return false;
    }
    auto& windows = hosted::Ui().windows;
    std::erase(windows, window_.get());
    windows.push_back(window_.get());
    if (!window_->shown) {
        window_->Show();
    }
    return true;
}

// What was shown stays as it is; that it was asked for is recorded.
void Form::Refresh() {
    const hosted::Call call("Refresh", layout_.name);
}

void Form::Unload() {
    const LayerScope layer;
    window_.reset();
}

bool Form::IsLoaded() const {
    return window_ != nullptr;
}

bool Form::SetText(std::size_t control, std::string_view text) {
    const LayerScope layer;
    if (!Load()) {
        return false;
    }
    if (hosted::Call("SetWindowTextA", layout_.controls[control].name).Run() == FALSE) {
        return false;
    }
    window_->texts[control] = text;
    if (window_->shown) {
        window_->ShowText(control);
    }
    return true;
}

void ProcessMessages() {
    const hosted::Call call("ProcessMessages");
    hosted::HandleMessage();
}

void RunMessageLoop() {
    const LayerScope layer;
    while (hosted::HandleMessage()) {  // a window that nothing can happen to keeps nobody
    }
}

HWND OwnerWindow() {
    const LayerScope layer;
    const auto& windows = hosted::Ui().windows;
    const bool shown = !windows.empty() && windows.back()->shown;
    return shown ? reinterpret_cast<HWND>(windows.back()) : nullptr;
}

}  // namespace forms
