// The program's forms on the hosted machine: texts, recorded in the transcript, and drawn if
// there is a terminal to draw them in.
#include "platform/forms.h"

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

#include "platform/hosted/registry/registry.h"
#include "platform/hosted/ui/dialog.h"
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

    void RecordText(std::size_t control) const {
        if (layout.controls[control].kind != forms::ControlKind::Button) {
            Record("text", {layout.name, layout.controls[control].name, texts[control]});
        }
    }
    void Draw();

    const forms::Layout& layout;
    std::map<std::string_view, std::function<void()>> handlers;  // the program's, by event
    std::vector<std::string> texts;                              // by control
    bool timerRuns = false;
    bool shown = false;
    Dialog dialog;  // as it is shown
};

// The layouts have their texts in the order in which they stand below each other.
void Window::Draw() {
    constexpr int kTwipsOfATextLine = 195;  // 13 pixels, as the standard dialog font has it
    dialog = Dialog();
    dialog.title = layout.title;
    dialog.closeBox = layout.closeBox;
    dialog.escape = 0;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const forms::Control& control = layout.controls[i];
        const bool field = control.kind == forms::ControlKind::TextBox;
        if (control.kind == forms::ControlKind::Button) {
            dialog.buttons.push_back(texts[i]);
        } else {
            dialog.texts.push_back(
                {texts[i], control.kind == forms::ControlKind::CentredLabel,
                 field ? static_cast<std::size_t>(control.place.height / kTwipsOfATextLine) : 0});
        }
    }
    Show(dialog);
}

namespace {

// Lets the user do one thing to the window.
std::string_view NextEvent(Window& window) {
    static const std::map<std::string_view, std::string_view> events{
        {"ok", "click"},    {"click", "click"}, {"enter", "click"},  {"escape", "click"},
        {"alt+o", "click"}, {"close", "close"}, {"alt+f4", "close"},
    };
    SaveRegistry();
    if (const std::optional<std::string> answer = TakeAnswer()) {
        const auto found = events.find(*answer);
        if (found != events.end()) {
            return found->second;
        }
        Record("misfit", {FromUtf8(*answer)});
    } else if (HasTerminal() && Ask(window.dialog) == window.dialog.buttons.size()) {
        return "close";
    }
    return "click";
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
    if (windows.empty() || windows.back()->dialog.buttons.empty()) {
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
    const hosted::Call call("CreateWindowExA", std::string(layout_.name));
    if (call.Refused()) {
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
        window_->shown = true;
        hosted::Record("show", {layout_.name, layout_.title});
        for (std::size_t i = 0; i < layout_.controls.size(); ++i) {
            window_->RecordText(i);
        }
        window_->Draw();
    }
    return true;
}

// What was shown stays as it is; that it was asked for is recorded.
void Form::Refresh() {
    const hosted::Call call("Refresh", std::string(layout_.name));
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
    const hosted::Call call("SetWindowTextA", std::string(layout_.controls[control].name));
    if (call.Refused()) {
        return false;
    }
    window_->texts[control] = text;
    if (window_->shown) {
        window_->RecordText(control);
        window_->Draw();
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
    hosted::UiState& state = hosted::Ui();
    if (!state.windows.empty() && state.windows.back()->shown) {
        return reinterpret_cast<HWND>(state.windows.back());
    }
    if (!state.ownerWindow) {
        const hosted::Call call("CreateWindowExA", "owner");
        state.ownerWindow = !call.Refused();
    }
    return state.ownerWindow ? reinterpret_cast<HWND>(&state) : nullptr;
}

}  // namespace forms
