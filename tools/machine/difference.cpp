#include "tools/machine/difference.h"

namespace report {
namespace {

std::string Shown(const std::string& valueName) {
    return valueName.empty() ? "(Default)" : valueName;
}

void Add(std::string& text, std::size_t count, const std::string& one) {
    if (count > 0) {
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + one +
                (count == 1 ? "" : "s");
    }
}

void CountEntry(const Entry& entry, Count& count) {
    ++(entry.kind == Entry::Kind::Folder ? count.folders : count.files);
}

std::string Described(const Entry& entry) {
    const std::string attributes = entry.attributes.empty() ? "" : ", " + entry.attributes;
    switch (entry.kind) {
        case Entry::Kind::Folder:
            return "folder" + attributes;
        case Entry::Kind::Link:
            return "link to " + fs::read_symlink(entry.host).string();
        case Entry::Kind::File:
            break;
    }
    return std::to_string(fs::file_size(entry.host)) + " bytes" + attributes;
}

// A list in which what lies in a place that has a line already only adds to its count.
class Trees {
 public:
    explicit Trees(std::vector<Change>& lines) : lines_(lines) {}

    Count& Of(const std::string& place) {
        for (std::size_t end = place.size(); end != std::string::npos && end > 0;
             end = place.rfind('\\', end - 1)) {
            const auto known = at_.find(place.substr(0, end));
            if (known != at_.end()) {
                return lines_[known->second].with;
            }
        }
        at_[place] = lines_.size();
        lines_.push_back({place, "", "", "", {}});
        return lines_.back().with;
    }

 private:
    std::vector<Change>& lines_;
    std::map<std::string, std::size_t> at_;
};

class Comparison {
 public:
    Comparison(const Snapshot& before, const Snapshot& after, const Ours& ours)
        : before_(before), after_(after), ours_(ours) {}

    Difference Finish() {
        Entries();
        Keys();
        return std::move(result_);
    }

 private:
    Changes& Side(bool ours) { return ours ? result_.ours : result_.foreign; }
    Trees& Removed(bool ours) { return ours ? removedOurs_ : removedForeign_; }
    Trees& Added(bool ours) { return ours ? addedOurs_ : addedForeign_; }

    void Entries() {
        for (const auto& [path, entry] : before_.entries) {
            const bool ours = ours_.HasPath(path);
            const auto now = after_.entries.find(path);
            if (now == after_.entries.end()) {
                CountEntry(entry, Removed(ours).Of(path));
            } else if (!SameEntry(entry, now->second)) {
                Side(ours).changed.push_back(
                    {path, "", Described(entry), Described(now->second), {}});
            } else {
                CountEntry(entry, ours ? left_.Of(path) : result_.untouched);
            }
        }
        for (const auto& [path, entry] : after_.entries) {
            if (!before_.entries.contains(path)) {
                CountEntry(entry, Added(ours_.HasPath(path)).Of(path));
            }
        }
    }

    void Keys() {
        for (const auto& [key, values] : before_.keys) {
            const auto now = after_.keys.find(key);
            if (now == after_.keys.end()) {
                Count& count = Removed(ours_.HasKey(key)).Of(key);
                ++count.keys;
                count.values += values.size();
                continue;
            }
            if (!ours_.HasKey(key)) {
                ++result_.untouched.keys;
            } else if (ours_.HasTree(key)) {
                ++left_.Of(key).keys;
            }
            OldValues(key, values, now->second);
        }
        for (const auto& [key, values] : after_.keys) {
            const auto earlier = before_.keys.find(key);
            if (earlier != before_.keys.end()) {
                NewValues(key, earlier->second, values);
                continue;
            }
            Count& count = Added(ours_.HasKey(key)).Of(key);
            ++count.keys;
            count.values += values.size();
        }
    }

    void OldValues(const std::string& key, const Values& values, const Values& now) {
        for (const auto& [name, value] : values) {
            const auto found = now.find(name);
            if (found == now.end()) {
                Side(ours_.Allows(key, name, std::nullopt))
                    .removed.push_back({key, Shown(name), value.shown, "", {}});
            } else if (!(found->second == value)) {
                Side(ours_.Allows(key, name, found->second.shown))
                    .changed.push_back({key, Shown(name), value.shown, found->second.shown, {}});
            } else if (!ours_.HasValue(key, name)) {
                ++result_.untouched.values;
            } else if (ours_.HasTree(key)) {
                ++left_.Of(key).values;
            }
        }
    }

    void NewValues(const std::string& key, const Values& earlier, const Values& values) {
        for (const auto& [name, value] : values) {
            if (!earlier.contains(name)) {
                Side(ours_.Allows(key, name, value.shown))
                    .added.push_back({key, Shown(name), "", value.shown, {}});
            }
        }
    }

    const Snapshot& before_;
    const Snapshot& after_;
    const Ours& ours_;
    Difference result_;
    Trees removedOurs_{result_.ours.removed}, removedForeign_{result_.foreign.removed};
    Trees addedOurs_{result_.ours.added}, addedForeign_{result_.foreign.added};
    Trees left_{result_.left};
};

}  // namespace

std::string Count::Text() const {
    std::string text;
    Add(text, files, "file");
    Add(text, folders, "folder");
    Add(text, keys, "key");
    Add(text, values, "value");
    return text;
}

Difference Compare(const Snapshot& before, const Snapshot& after, const Ours& ours) {
    return Comparison(before, after, ours).Finish();
}

}  // namespace report
