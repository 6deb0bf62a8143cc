// Sits in front of the screen: watches for the program's windows and message boxes, in
// whatever process, writes down what they show, and answers them.
#pragma once

#include <atomic>
#include <deque>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/win32.h"

namespace support {

class Answerer {
 public:
    Answerer();
    ~Answerer();
    Answerer(const Answerer&) = delete;
    Answerer& operator=(const Answerer&) = delete;

    // The answers to the next questions; forgets what was shown.
    void Reset(const std::vector<std::string>& answers);
    [[nodiscard]] std::vector<std::string> Shown();

 private:
    void Watch();
    void Look(HWND window);
    void LookAtForm(HWND window);
    void LookAtBox(HWND window);
    std::string NextAnswer(const std::string& standard);
    static BOOL CALLBACK Collect(HWND window, LPARAM windows);

    static std::atomic<Answerer*> current_;
    std::mutex mutex_;
    std::deque<std::string> answers_;
    std::vector<std::string> shown_;
    std::set<HWND> known_;  // windows that have had their turn
    std::atomic<bool> ending_{false};
    std::thread thread_;
};

}  // namespace support
