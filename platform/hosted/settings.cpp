// machine.ini: sections of "name=value" lines; lines that begin with ";" or "#" are
// remarks. Anything else that is not understood is an error, so that a slip in a test
// cannot pass for a computer on which nothing goes wrong.
#include <charconv>
#include <set>
#include <sstream>

#include "platform/hosted/settings.h"
#include "platform/hosted/text.h"
#include "platform/regtext/regtext.h"

namespace hosted {
namespace {

std::string Trim(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t first = std::min(text.find_first_not_of(kBlanks), text.size());
    return std::string(text.substr(first, text.find_last_not_of(kBlanks) + 1 - first));
}

const std::map<std::string, Fault::Kind> kKinds{{"less", Fault::Kind::Less},
                                                {"gone", Fault::Kind::Gone},
                                                {"stop", Fault::Kind::Stop},
                                                {"kill-before", Fault::Kind::KillBefore},
                                                {"kill-after", Fault::Kind::KillAfter}};
const std::set<std::string> kFolders{"temp", "system", "windows", "common-programs", "programs"};

class Reader {
 public:
    Settings Read(const std::string& text) {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            ++line_;
            ReadLine(Trim(line));
        }
        return std::move(settings_);
    }

 private:
    [[noreturn]] void Wrong(const std::string& what, const std::string& where) const {
        throw regtext::Damage(line_, what + " \"" + where + "\"");
    }

    DWORD Number(const std::string& text) const {
        DWORD number = 0;
        const char* const last = text.data() + text.size();
        const auto [end, error] = std::from_chars(text.data(), last, number);
        if (error != std::errc() || end != last) {
            Wrong("not a number:", text);
        }
        return number;
    }

    void ReadLine(const std::string& line) {
        if (line.empty() || line.front() == ';' || line.front() == '#') {
            return;
        }
        if (line.front() == '[') {
            section_ = line;
            return;
        }
        // The last sign: registry keys and paths may hold others.
        const std::size_t sign = line.rfind('=');
        if (sign == std::string::npos) {
            Wrong("no \"=\" in", line);
        }
        ReadEntry(Trim(line.substr(0, sign)), Trim(line.substr(sign + 1)));
    }

    void ReadEntry(const std::string& name, const std::string& value) {
        if (section_ == "[folders]" && kFolders.contains(name)) {
            settings_.folders[name] = FromUtf8(value);
        } else if (section_ == "[user]" && name == "sid") {
            settings_.user = value;
        } else if (section_ == "[clock]" && name == "real") {
            settings_.realClock = Number(value) != 0;
        } else if (section_ == "[clock]" && name == "start") {
            settings_.clockStart = Number(value);
        } else if (section_ == "[faults]") {
            ReadFault(name, value);
        } else if (section_ == "[trace]" && name == "calls") {
            settings_.traceCalls = Number(value) != 0;
        } else {
            Wrong("section " + section_ + " has no", name);
        }
    }

    void ReadFault(const std::string& call, const std::string& what) {
        Fault fault;
        std::istringstream words(call);
        std::string occurrence;
        if (!(words >> fault.process >> fault.function >> occurrence)) {
            Wrong("not \"process function occurrence argument\":", call);
        }
        std::getline(words >> std::ws, fault.argument);  // none: of a call without one
        fault.occurrence = occurrence == "*" ? 0 : Number(occurrence);
        const auto kind = kKinds.find(what);
        if (kind != kKinds.end()) {
            fault.kind = kind->second;
        } else {
            fault.code = Number(what);
        }
        settings_.faults.push_back(fault);
    }

    Settings settings_;
    std::string section_;
    unsigned line_ = 0;
};

}  // namespace

Settings ReadSettings(const std::string& text) {
    return Reader().Read(text);
}

}  // namespace hosted
