// machine.ini: sections of "name=value" lines; lines that begin with ";" or "#" are
// remarks. Anything else that is not understood is an error, so that a slip in a test
// cannot pass for a machine that refuses nothing.
#include <algorithm>
#include <array>
#include <charconv>
#include <string>

#include "platform/hosted/machine.h"

namespace hosted {
namespace {

constexpr std::string_view kBlanks = " \t\r";

std::string_view Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// The part before the separator; rest keeps what follows it.
std::string_view TakeUpTo(std::string_view& rest, char separator) {
    const std::size_t end = rest.find(separator);
    const std::string_view part = Trim(rest.substr(0, end));
    rest = end == std::string_view::npos ? std::string_view() : Trim(rest.substr(end + 1));
    return part;
}

constexpr std::pair<std::string_view, Fault::Kind> kKinds[] = {
    {"less", Fault::Kind::Less},
    {"gone", Fault::Kind::Gone},
    {"stop", Fault::Kind::Stop},
    {"kill-before", Fault::Kind::KillBefore},
    {"kill-after", Fault::Kind::KillAfter},
};

class Reader {
 public:
    Settings Read(std::string_view text) {
        while (!text.empty()) {
            const std::size_t end = text.find('\n');
            ++line_;
            ReadLine(Trim(text.substr(0, end)));
            text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        }
        return std::move(settings_);
    }

 private:
    [[noreturn]] void Wrong(std::string_view what, std::string_view where) const {
        throw Damage{line_, std::string(what) + " \"" + std::string(where) + "\""};
    }

    std::uint32_t Number(std::string_view text) const {
        std::uint32_t number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error != std::errc() || end != text.data() + text.size()) {
            Wrong("not a number:", text);
        }
        return number;
    }

    bool Flag(std::string_view text) const {
        if (text != "0" && text != "1") {
            Wrong("neither 0 nor 1:", text);
        }
        return text == "1";
    }

    void ReadLine(std::string_view line) {
        if (line.empty() || line.front() == ';' || line.front() == '#') {
            return;
        }
        if (line.front() == '[') {
            if (line.back() != ']') {
                Wrong("section without its closing bracket:", line);
            }
            section_ = line.substr(1, line.size() - 2);
            return;
        }
        // The last sign: registry keys and paths may hold others.
        const std::size_t sign = line.rfind('=');
        if (sign == std::string_view::npos) {
            Wrong("no \"=\" in", line);
        }
        ReadEntry(Trim(line.substr(0, sign)), Trim(line.substr(sign + 1)));
    }

    void ReadEntry(std::string_view name, std::string_view value) {
        if (section_ == "folders") {
            Folder(name, value);
        } else if (section_ == "user" && name == "sid") {
            settings_.user = FromUtf8(value);
        } else if (section_ == "clock" && name == "real") {
            settings_.realClock = Flag(value);
        } else if (section_ == "clock" && name == "start") {
            settings_.clockStart = Number(value);
        } else if (section_ == "denied") {
            Denied(name, value);
        } else if (section_ == "faults") {
            Faulty(name, value);
        } else if (section_ == "trace" && name == "calls") {
            settings_.traceCalls = Flag(value);
        } else {
            Wrong("section [" + std::string(section_) + "] has no", name);
        }
    }

    void Folder(std::string_view name, std::string_view value) {
        constexpr std::array<std::string_view, 5> kKnown{"temp", "system", "windows",
                                                         "common-programs", "programs"};
        if (std::find(kKnown.begin(), kKnown.end(), name) == kKnown.end()) {
            Wrong("no folder is called", name);
        }
        settings_.folders[std::string(name)] = FromUtf8(value);
    }

    void Denied(std::string_view key, std::string_view rights) {
        Denial denial;
        denial.key = FromUtf8(key);
        while (!rights.empty()) {
            const std::string_view right = TakeUpTo(rights, ',');
            if (right == "query") {
                denial.query = true;
            } else if (right == "set") {
                denial.set = true;
            } else if (right == "create") {
                denial.create = true;
            } else if (right == "enumerate") {
                denial.enumerate = true;
            } else if (right == "delete") {
                denial.deleting = true;
            } else {
                Wrong("no access right is called", right);
            }
        }
        settings_.denied.push_back(denial);
    }

    void Faulty(std::string_view call, std::string_view what) {
        Fault fault;
        fault.process = TakeUpTo(call, ' ');
        fault.function = TakeUpTo(call, ' ');
        const std::string_view occurrence = TakeUpTo(call, ' ');
        if (fault.process.empty() || fault.function.empty() || occurrence.empty()) {
            Wrong("not \"process function occurrence argument\":", call);
        }
        fault.occurrence = occurrence == "*" ? 0 : Number(occurrence);
        fault.argument = call;
        const auto* const kind =
            std::find_if(std::begin(kKinds), std::end(kKinds),
                         [&](const auto& known) { return known.first == what; });
        if (kind != std::end(kKinds)) {
            fault.kind = kind->second;
        } else {
            fault.code = Number(what);
        }
        settings_.faults.push_back(fault);
    }

    Settings settings_;
    std::string_view section_;
    unsigned line_ = 0;
};

}  // namespace

Settings ReadSettings(std::string_view text) {
    return Reader().Read(text);
}

}  // namespace hosted
