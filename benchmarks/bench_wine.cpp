// bench_wine STAGE UNINSTALL OTHER SILENT ROUNDS native|emulated: on the Windows it runs on, which
// should be nobody's, compares the exe's whole relaunched run with that of a script-made
// uninstaller that shows and asks the same, and with one that shows nothing, in turns; and measures
// what the exe's list of problems costs while it waits. The exit status is 1 if a limit is
// exceeded, on a machine that runs 32-bit programs itself.
#include <algorithm>
#include <iomanip>
#include <iostream>
#include <stdexcept>
#include <vector>

#include "platform/handles.h"
#include "tools/sandbox/real.h"
#include "tools/sandbox/stage.h"

namespace bench {
namespace {

using sandbox::kCopy;
using sandbox::kGroupFolder;
using sandbox::kProgramFolder;
using sandbox::kTempFolder;

constexpr DWORD kTimeLimit = 120000;  // milliseconds
constexpr DWORD kWaiting = 6000;
constexpr char kTitle[] = "UnInstaller";

constexpr double kLikeLimit = 1;
constexpr double kSilentLimit = 2.5;
constexpr double kShareLimit = 1;  // percent of one core

const std::string kOther = kTempFolder + "\\Script.exe";
const std::string kSilent = kTempFolder + "\\Silent.exe";

// The product and its surroundings, the same before every run.
struct Stage {
    std::filesystem::path stage, program;

    void Set() const {
        real::RemoveTree("C:\\Programme");
        real::RemoveTree("C:\\Dokumente und Einstellungen");
        real::Stage(stage, program);
    }
};

bool Exists(const std::string& path) {
    return GetFileAttributesA(real::FromUtf8(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool KeyExists(HKEY root, const char* path) {
    handles::Key key;
    return RegOpenKeyExA(root, path, 0, KEY_READ, key.Receive()) == ERROR_SUCCESS;
}

DWORD SharedCount() {
    DWORD count = 0;
    DWORD size = sizeof count;
    handles::Key key;
    RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs", 0,
                  KEY_READ, key.Receive());
    RegQueryValueExA(key.Get(), "C:\\windows\\system32\\Msvbvm60.dll", nullptr, nullptr,
                     reinterpret_cast<LPBYTE>(&count), &size);
    return count;
}

void RequireRemoved(const std::string& by) {
    const bool done =
        !Exists(kProgramFolder) && !Exists(kGroupFolder) && SharedCount() == 4 &&
        !KeyExists(HKEY_LOCAL_MACHINE, "Software\\Verlonix") &&
        !KeyExists(HKEY_CURRENT_USER, "Software\\Verlonix\\Tessorin") &&
        !KeyExists(HKEY_LOCAL_MACHINE,
                   "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Tessorin");
    if (!done) {
        throw std::runtime_error(by + " has not done all of the job");
    }
}

// Answers the message boxes of a program at once: the folder that is not empty goes, the
// shell's settings stay as they are, because the script-made uninstaller knows nothing of
// them.
class Answerer {
 public:
    void Look() {
        for (HWND box = FindWindowA("#32770", kTitle); box != nullptr;
             box = FindWindowExA(nullptr, box, "#32770", kTitle)) {
            HWND yes = GetDlgItem(box, IDYES);
            HWND button = yes != nullptr ? yes : GetDlgItem(box, IDOK);
            if (IsWindowVisible(box) == FALSE || button == nullptr || IsNoBox(box)) {
                continue;
            }
            questions_ += box != last_ && yes != nullptr ? 1 : 0;
            last_ = box;
            const int answer = yes == nullptr ? IDOK : questions_ == 1 ? IDYES : IDNO;
            PostMessageA(box, WM_COMMAND, static_cast<WPARAM>(answer),
                         reinterpret_cast<LPARAM>(GetDlgItem(box, answer)));
        }
    }

 private:
    // The script-made uninstaller's main window, or the list of problems.
    static bool IsNoBox(HWND window) {
        constexpr int kPlaceOfPages = 1018;
        return GetDlgItem(window, kPlaceOfPages) != nullptr ||
               FindWindowExA(window, nullptr, "Edit", nullptr) != nullptr;
    }

    HWND last_ = nullptr;
    int questions_ = 0;
};

handles::Process Start(const std::string& program, const std::string& arguments) {
    std::string command = real::FromUtf8("\"" + program + "\" " + arguments);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, "C:\\windows",
                       &startup, &process) == FALSE) {
        throw std::runtime_error("cannot start " + program);
    }
    CloseHandle(process.hThread);
    return handles::Process(process.hProcess);
}

double Now() {
    LARGE_INTEGER count{};
    LARGE_INTEGER frequency{};
    QueryPerformanceCounter(&count);
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(count.QuadPart) / static_cast<double>(frequency.QuadPart);
}

// Seconds from the start of the process to its end.
double Run(const std::string& program, const std::string& arguments) {
    constexpr DWORD kLookAgain = 2;
    Answerer answerer;
    const double start = Now();
    const handles::Process process = Start(program, arguments);
    while (WaitForSingleObject(process.Get(), kLookAgain) != WAIT_OBJECT_0) {
        if ((Now() - start) * 1000 > kTimeLimit) {
            TerminateProcess(process.Get(), 1);
            throw std::runtime_error(program + " does not end");
        }
        answerer.Look();
    }
    return Now() - start;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double RunOn(const Stage& stage, const std::string& program, const std::string& arguments) {
    stage.Set();
    const double seconds = Run(program, arguments);
    RequireRemoved(program);
    return seconds;
}

struct Ratios {
    double like, silent;  // to the one that shows and asks the same, and to the other one
};

Ratios Compare(const Stage& stage, int rounds) {
    std::vector<double> like;
    std::vector<double> silent;
    for (int round = 0; round <= rounds; ++round) {
        const double other = RunOn(stage, kOther, "");
        const double ours = RunOn(stage, kCopy, sandbox::CopyArguments());
        const double quiet = RunOn(stage, kSilent, "");
        std::cout << (round == 0 ? "warm-up" : "round  ") << std::setw(3) << round << "  exe "
                  << ours << " s  script-made " << other << " s  silent " << quiet << " s"
                  << std::endl;
        if (round > 0) {
            like.push_back(ours / other);
            silent.push_back(ours / quiet);
        }
    }
    return {Median(like), Median(silent)};
}

double CpuSeconds(HANDLE process) {
    FILETIME created{};
    FILETIME ended{};
    FILETIME kernel{};
    FILETIME user{};
    GetProcessTimes(process, &created, &ended, &kernel, &user);
    const auto seconds = [](const FILETIME& time) {
        constexpr double kUnit = 1e-7;
        return (static_cast<double>(time.dwHighDateTime) * 4294967296.0 + time.dwLowDateTime) *
               kUnit;
    };
    return seconds(kernel) + seconds(user);
}

HWND ListOfProblems() {
    for (HWND window = FindWindowA(nullptr, kTitle); window != nullptr;
         window = FindWindowExA(nullptr, window, nullptr, kTitle)) {
        if (FindWindowExA(window, nullptr, "Edit", nullptr) != nullptr) {
            return window;
        }
    }
    return nullptr;
}

// The share of one core that the program takes while its list of problems is open.
double ShareWhileWaiting(const Stage& stage) {
    stage.Set();
    real::SetAttributes(real::Path(sandbox::kEditor), "R");
    const handles::Process process = Start(kCopy, sandbox::CopyArguments());
    const double start = Now();
    Answerer answerer;
    HWND window = nullptr;
    while (window == nullptr) {
        if ((Now() - start) * 1000 > kTimeLimit) {
            TerminateProcess(process.Get(), 1);
            throw std::runtime_error("no list of problems is shown");
        }
        answerer.Look();
        Sleep(10);
        window = ListOfProblems();
    }
    Sleep(1000);  // it has been painted
    const double before = CpuSeconds(process.Get());
    const double from = Now();
    Sleep(kWaiting);
    const double share = (CpuSeconds(process.Get()) - before) / (Now() - from);
    PostMessageA(window, WM_SYSCOMMAND, SC_CLOSE, 0);
    WaitForSingleObject(process.Get(), kTimeLimit);
    if (before <= 0) {
        throw std::runtime_error("this system does not tell CPU times");
    }
    return share;
}

int Measure(char** arguments) {
    const Stage stage{arguments[1], arguments[2]};
    std::filesystem::create_directories(kTempFolder);
    for (const auto& [target, source] :
         {std::pair(kCopy, arguments[2]), {kOther, arguments[3]}, {kSilent, arguments[4]}}) {
        std::filesystem::copy_file(source, target,
                                   std::filesystem::copy_options::overwrite_existing);
    }
    SetEnvironmentVariableA("TMP", real::FromUtf8(kTempFolder).c_str());
    SetEnvironmentVariableA("TEMP", real::FromUtf8(kTempFolder).c_str());
    std::cout << std::fixed << std::setprecision(3);
    const Ratios ratios = Compare(stage, std::atoi(arguments[5]));
    const double share = ShareWhileWaiting(stage) * 100;
    std::cout << "relaunched run to script-made uninstaller, median:  " << ratios.like
              << "  (limit " << kLikeLimit
              << ")\nto one that shows and asks nothing, median:          " << ratios.silent
              << "  (limit " << kSilentLimit
              << ")\nCPU while the list of problems waits, of one core: " << share << " % (limit "
              << kShareLimit << " %)" << std::endl;
    const bool exceeded =
        ratios.like > kLikeLimit || ratios.silent > kSilentLimit || share > kShareLimit;
    if (std::string(arguments[6]) != "native") {
        return 0;
    }
    if (exceeded) {
        std::cout << "a limit is EXCEEDED" << std::endl;
    }
    return exceeded ? 1 : 0;
}

}  // namespace
}  // namespace bench

int main(int count, char** arguments) {
    if (count != 7) {
        std::cerr << "usage: bench_wine STAGE UNINSTALL OTHER SILENT ROUNDS native|emulated\n";
        return 2;
    }
    try {
        return bench::Measure(arguments);
    } catch (const std::exception& error) {
        std::cerr << "bench_wine: " << error.what() << '\n';
        return 2;
    }
}
