// The window of a loaded form on the hosted machine: texts, recorded in the transcript, and
// drawn only if there is a terminal to draw them in.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/forms.h"
#include "platform/hosted/ui/dialog_view.h"
#include "platform/hosted/ui/answers.h"

namespace hosted {

class FormWindow {
 public:
    explicit FormWindow(const forms::Layout& layout);
    virtual ~FormWindow();
    FormWindow(const FormWindow&) = delete;
    FormWindow& operator=(const FormWindow&) = delete;

    void StartTimer();
    void Show();
    void Redraw();
    void SetText(std::size_t control, std::string_view text);

    // ---- messages ----
    // Of any of these the window may be gone afterwards.
    void FireTimerIfDue();
    // Lets the user do one thing to the window, if it waits for that. False if it does not.
    bool LetUserAct();
    // Milliseconds until the timer fires, if it runs.
    [[nodiscard]] std::optional<DWORD> UntilTimer() const;
    // Whether it is shown and has something that the user may choose.
    [[nodiscard]] bool AsksUser() const;
    [[nodiscard]] bool IsShown() const { return shown_; }

 private:
    enum class Action { Click, Close };

    virtual void OnTimer() = 0;
    virtual void OnButton() = 0;
    virtual void OnClose() = 0;

    [[nodiscard]] bool Has(forms::ControlKind kind) const;
    void RecordText(std::size_t control) const;
    void OpenView();
    std::optional<Action> NextAction();
    std::optional<Action> ActionInView();
    [[nodiscard]] std::optional<Action> ActionFor(const std::string& answer) const;
    [[nodiscard]] Action DefaultAction() const;

    const forms::Layout& layout_;
    std::vector<std::string> texts_;  // by control
    bool shown_ = false;
    bool timerRuns_ = false;
    DWORD timerStart_ = 0;
    Question question_;
    std::unique_ptr<DialogView> view_;
    std::vector<std::size_t> viewTexts_;  // the controls that the view's texts belong to
};

// All that exist, the one shown last at the end.
std::vector<FormWindow*>& FormWindows();

}  // namespace hosted
