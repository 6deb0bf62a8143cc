#include "platform/hosted/ui/form_window.h"

#include <algorithm>
#include <array>
#include <numeric>

#include "platform/hosted/clock.h"
#include "platform/hosted/machine.h"

namespace hosted {
namespace {

using forms::Control;
using forms::ControlKind;

constexpr int kLookForKey = 100;        // milliseconds between looks; a key ends it at once
constexpr int kTwipsOfATextLine = 195;  // 13 pixels, as the standard dialog font has it

// The controls as they stand below each other, which is not the order of the Tab key.
std::vector<std::size_t> FromTop(const forms::Layout& layout) {
    std::vector<std::size_t> order(layout.controls.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&layout](std::size_t a, std::size_t b) {
        return layout.controls[a].place.top < layout.controls[b].place.top;
    });
    return order;
}

}  // namespace

std::vector<FormWindow*>& FormWindows() {
    return Machine::Current().Part<std::vector<FormWindow*>>();
}

FormWindow::FormWindow(const forms::Layout& layout) : layout_(layout) {
    for (const Control& control : layout.controls) {
        texts_.emplace_back(control.text);
    }
    FormWindows().insert(FormWindows().begin(), this);
    Record("load", {layout.name});
}

FormWindow::~FormWindow() {
    Record("unload", {layout_.name});
    std::erase(FormWindows(), this);
}

void FormWindow::StartTimer() {
    if (layout_.timerInterval > 0) {
        timerStart_ = Ticks();
        timerRuns_ = true;
    }
}

void FormWindow::Show() {
    auto& windows = FormWindows();
    windows.erase(std::find(windows.begin(), windows.end(), this));
    windows.push_back(this);
    if (shown_) {
        return;
    }
    shown_ = true;
    Record("show", {layout_.name, layout_.title});
    for (std::size_t i = 0; i < texts_.size(); ++i) {
        RecordText(i);
    }
    if (HasTerminal()) {
        OpenView();
    }
}

void FormWindow::Redraw() {
    if (view_ != nullptr) {
        view_->Redraw();
    }
}

void FormWindow::SetText(std::size_t control, std::string_view text) {
    texts_.at(control) = text;
    if (!shown_) {
        return;
    }
    RecordText(control);
    const auto found = std::find(viewTexts_.begin(), viewTexts_.end(), control);
    if (found != viewTexts_.end()) {
        view_->SetText(static_cast<std::size_t>(found - viewTexts_.begin()), texts_[control]);
        Redraw();
    }
}

void FormWindow::FireTimerIfDue() {
    if (UntilTimer() == DWORD{0}) {
        timerRuns_ = false;
        Record("event", {layout_.name, "timer"});
        OnTimer();
    }
}

bool FormWindow::LetUserAct() {
    if (!AsksUser()) {
        return false;
    }
    const std::optional<Action> action = NextAction();
    if (action) {
        Record("event", {layout_.name, *action == Action::Click ? "click" : "close"});
        if (*action == Action::Click) {
            OnButton();
        } else {
            OnClose();
        }
    }
    return true;
}

std::optional<DWORD> FormWindow::UntilTimer() const {
    if (!timerRuns_) {
        return std::nullopt;
    }
    const DWORD passed = Ticks() - timerStart_;
    return passed < layout_.timerInterval ? layout_.timerInterval - passed : 0;
}

bool FormWindow::AsksUser() const {
    return shown_ && (Has(ControlKind::Button) || layout_.closeBox);
}

bool FormWindow::Has(ControlKind kind) const {
    return std::any_of(layout_.controls.begin(), layout_.controls.end(),
                       [kind](const Control& control) { return control.kind == kind; });
}

void FormWindow::RecordText(std::size_t control) const {
    const Control& described = layout_.controls[control];
    if (described.kind != ControlKind::Button) {
        Record("text", {layout_.name, described.name, texts_[control]});
    }
}

void FormWindow::OpenView() {
    Dialog dialog;
    dialog.title = layout_.title;
    dialog.closeBox = layout_.closeBox;
    for (const std::size_t i : FromTop(layout_)) {
        const Control& control = layout_.controls[i];
        if (control.kind == ControlKind::Button) {
            dialog.buttons.push_back(ButtonOf(texts_[i]));
            continue;
        }
        const bool field = control.kind == ControlKind::TextBox;
        const int rows = std::max(control.place.height / kTwipsOfATextLine, 1);
        dialog.texts.push_back({texts_[i], control.kind == ControlKind::CentredLabel,
                                field ? static_cast<std::size_t>(rows) : 0});
        viewTexts_.push_back(i);
    }
    view_ = std::make_unique<DialogView>(std::move(dialog));
}

std::optional<FormWindow::Action> FormWindow::NextAction() {
    switch (question_.Look()) {
        case Question::State::Waiting:
            return std::nullopt;
        case Question::State::Answered:
            if (const std::optional<Action> action = ActionFor(question_.Answer())) {
                return action;
            }
            question_.Refuse("the window is one that is left by ok or close");
            return DefaultAction();
        case Question::State::Open:
            break;
    }
    return view_ != nullptr ? ActionInView() : DefaultAction();
}

std::optional<FormWindow::Action> FormWindow::ActionInView() {
    const std::optional<DialogAction> action = view_->Poll(kLookForKey);
    if (!action) {
        return std::nullopt;
    }
    if (action->kind != DialogAction::Kind::Close && Has(ControlKind::Button)) {
        return Action::Click;  // the button is the one for Escape, too
    }
    return layout_.closeBox ? std::optional(Action::Close) : std::nullopt;
}

std::optional<FormWindow::Action> FormWindow::ActionFor(const std::string& answer) const {
    if (answer == "close" || answer == "alt+f4") {
        return layout_.closeBox ? std::optional(Action::Close) : std::nullopt;
    }
    constexpr std::array<std::string_view, 5> kClicks{"ok", "click", "enter", "escape", "alt+o"};
    const bool clicks = std::find(kClicks.begin(), kClicks.end(), answer) != kClicks.end();
    return clicks && Has(ControlKind::Button) ? std::optional(Action::Click) : std::nullopt;
}

FormWindow::Action FormWindow::DefaultAction() const {
    return Has(ControlKind::Button) ? Action::Click : Action::Close;
}

}  // namespace hosted
