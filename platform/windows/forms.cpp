// Forms as user32 dialogs: the dialog manager gives focus, tab order, the default and
// cancel button and the access keys, and tells screen readers that the labels belong to
// the window.
#include "platform/forms.h"

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "platform/handles.h"
#include "platform/windows/form_layout.h"
#include "platform/windows/functions.h"

namespace forms {

namespace {

constexpr UINT_PTR kTimer = 1;

int loadedForms = 0;

// The forms that are loaded and have been shown, the one shown last at the end.
std::vector<HWND> shownForms;

// The window of the form that was unloaded last, hidden. A window that is destroyed in front
// hands the foreground to another program, and what is shown next would open behind that one.
handles::Window unloadedForm;

void HideWhereItIs(HWND form) {
    SetWindowPos(form, nullptr, 0, 0, 0, 0,
                 SWP_HIDEWINDOW | SWP_NOACTIVATE | SWP_NOZORDER | SWP_NOMOVE | SWP_NOSIZE);
    unloadedForm = handles::Window(form);
}

// Ctrl+A selects everything in a text box; edit controls learned it only in later systems.
bool SelectedAll(const MSG& message) {
    if (message.message != WM_KEYDOWN || message.wParam != 'A' || GetKeyState(VK_CONTROL) >= 0 ||
        GetKeyState(VK_MENU) < 0 ||
        (SendMessageA(message.hwnd, WM_GETDLGCODE, 0, 0) & DLGC_HASSETSEL) == 0) {
        return false;
    }
    SendMessageA(message.hwnd, EM_SETSEL, 0, -1);
    return true;
}

void Dispatch(MSG& message) {
    HWND form = GetAncestor(message.hwnd, GA_ROOT);
    if (form != nullptr && (SelectedAll(message) || IsDialogMessageA(form, &message) != FALSE)) {
        return;
    }
    TranslateMessage(&message);
    DispatchMessageA(&message);
}

// Labels and the read-only text box look like a part of the dialog. Both ask with the
// same message.
HBRUSH ColoursOfDialog(HDC context) {
    SetTextColor(context, GetSysColor(COLOR_BTNTEXT));
    SetBkColor(context, GetSysColor(COLOR_BTNFACE));
    return GetSysColorBrush(COLOR_BTNFACE);
}

// Tells the user, on systems that ask for it (Windows Vista), why the end of the session
// has to wait: with the text of the form's first control.
void BlockShutdown(HWND form) {
    const auto create =
        FindFunction<BOOL(WINAPI*)(HWND, LPCWSTR)>("user32.dll", "ShutdownBlockReasonCreate");
    std::array<wchar_t, 128> reason{};
    if (create != nullptr && GetDlgItemTextW(form, kFirstControlId, reason.data(),
                                             static_cast<int>(reason.size())) != 0) {
        create(form, reason.data());
    }
}

void UnblockShutdown(HWND form) {
    if (const auto destroy =
            FindFunction<BOOL(WINAPI*)(HWND)>("user32.dll", "ShutdownBlockReasonDestroy")) {
        destroy(form);
    }
}

}  // namespace

struct Form::Window {
    explicit Window(Form& owner) : form(owner) {}
    ~Window();
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    [[nodiscard]] bool Create();
    // The events of the form happen in these.
    void OnTimer();
    // True if the message is dealt with; an event may have destroyed this object then.
    bool OnMessage(UINT message, WPARAM wide, LPARAM& result);

    static INT_PTR CALLBACK Procedure(HWND handle, UINT message, WPARAM wide, LPARAM parameter);

    Form& form;
    HWND handle = nullptr;
    bool timerRunning = false;
};

bool Form::Window::Create() {
    handle = CreateFormWindow(form.layout_, Procedure, reinterpret_cast<LPARAM>(this));
    if (handle == nullptr) {
        return false;
    }
    ++loadedForms;
    if (!CreateControls(form.layout_, handle)) {
        return false;
    }
    SetIcons(handle);
    if (!form.layout_.closeBox) {
        BlockShutdown(handle);
    }
    return true;
}

Form::Window::~Window() {
    if (handle == nullptr) {
        return;
    }
    const DWORD code = GetLastError();
    UnblockShutdown(handle);
    // No event reaches the form while its window goes away.
    SetWindowLongPtrA(handle, DWLP_USER, 0);
    HideWhereItIs(handle);
    std::erase(shownForms, handle);
    --loadedForms;
    // Wakes a loop that waits for a message: the handlers of sent messages run inside it.
    PostMessageA(nullptr, WM_NULL, 0, 0);
    SetLastError(code);
}

void Form::Window::OnTimer() {
    // Stopped before the event, which lasts long and handles messages itself; a message of
    // the timer that was queued already finds it stopped.
    if (std::exchange(timerRunning, false)) {
        KillTimer(handle, kTimer);
        form.Form_Timer();
    }
}

bool Form::Window::OnMessage(UINT message, WPARAM wide, LPARAM& result) {
    const bool closeBox = form.layout_.closeBox;
    switch (message) {
        case WM_TIMER:
            OnTimer();
            return true;
        case WM_COMMAND:
            // The button itself, Enter and its access key send its own number, Escape
            // sends that of the cancel button.
            if ((LOWORD(wide) == IDOK || LOWORD(wide) == IDCANCEL) && HIWORD(wide) == BN_CLICKED &&
                GetDlgItem(handle, IDOK) != nullptr) {
                form.Button_Click();
            }
            return true;
        case WM_CLOSE:
            if (closeBox) {
                form.Form_Close();
            }
            return true;
        case WM_QUERYENDSESSION:
            // A window that cannot be closed stands for work that must not stop half-way:
            // the end of the session has to wait for it.
            result = closeBox ? TRUE : FALSE;
            return true;
        default:
            return false;
    }
}

INT_PTR CALLBACK Form::Window::Procedure(HWND handle, UINT message, WPARAM wide, LPARAM parameter) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrA(handle, DWLP_USER, parameter);
        return FALSE;  // the focus is set when the form is shown
    }
    if (message == WM_CTLCOLORSTATIC) {
        // Of the few messages whose result is returned directly.
        return reinterpret_cast<INT_PTR>(ColoursOfDialog(reinterpret_cast<HDC>(wide)));
    }
    auto* window = reinterpret_cast<Window*>(GetWindowLongPtrA(handle, DWLP_USER));
    LPARAM result = 0;
    if (window == nullptr || !window->OnMessage(message, wide, result)) {
        return FALSE;
    }
    SetWindowLongPtrA(handle, DWLP_MSGRESULT, result);
    return TRUE;
}

Form::Form(const Layout& layout) : layout_(layout) {}

Form::~Form() {
    Unload();
}

bool Form::Load() {
    if (window_) {
        return true;
    }
    auto window = std::make_unique<Window>(*this);
    if (!window->Create()) {
        return false;
    }
    window_ = std::move(window);
    if (!Form_Load()) {
        Unload();
        return false;
    }
    if (window_ && layout_.timerInterval != 0) {
        if (SetTimer(window_->handle, kTimer, layout_.timerInterval, nullptr) == 0) {
            Unload();
            return false;
        }
        window_->timerRunning = true;
    }
    return true;
}

bool Form::Show() {
    if (!Load()) {
        return false;
    }
    if (!window_) {
        return true;  // unloaded by its own load event
    }
    HWND handle = window_->handle;
    std::erase(shownForms, handle);
    shownForms.push_back(handle);
    // Not ShowWindow: its first call obeys the way in which the process was started, and
    // the script that starts the copy is hidden.
    SetWindowPos(handle, HWND_TOP, 0, 0, 0, 0, SWP_SHOWWINDOW | SWP_NOMOVE | SWP_NOSIZE);
    SetForegroundWindow(handle);
    if (HWND first = GetNextDlgTabItem(handle, nullptr, FALSE)) {
        SetFocus(first);
    }
    UpdateWindow(handle);
    return true;
}

void Form::Refresh() {
    if (window_) {
        RedrawWindow(window_->handle, nullptr, nullptr,
                     RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
    }
}

void Form::Unload() {
    // Not loaded any more from here on, also for what its end sets off.
    const std::unique_ptr<Window> window = std::move(window_);
}

bool Form::IsLoaded() const {
    return window_ != nullptr;
}

bool Form::SetText(std::size_t control, std::string_view text) {
    if (!Load() || !window_ || control >= layout_.controls.size()) {
        return false;
    }
    return SetDlgItemTextA(window_->handle, ControlId(layout_, control),
                           std::string(text).c_str()) != FALSE;
}

void ProcessMessages() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
        if (message.message == WM_QUIT) {
            // Meant for the outermost loop.
            PostQuitMessage(static_cast<int>(message.wParam));
            break;
        }
        Dispatch(message);
    }
}

void RunMessageLoop() {
    MSG message;
    while (loadedForms != 0 && GetMessageA(&message, nullptr, 0, 0) > 0) {
        Dispatch(message);
    }
}

HWND OwnerWindow() {
    return shownForms.empty() ? nullptr : shownForms.back();
}

}  // namespace forms
