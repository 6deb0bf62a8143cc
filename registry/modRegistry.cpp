#include "registry/modRegistry.h"

#include <algorithm>
#include <array>

#include "common/FunctionRef.h"
#include "common/modText.h"

namespace modRegistry {

namespace {

constexpr DWORD kLargestValue = 16U << 20;
constexpr DWORD kNameBuffer = 1024;

// What a report would say about an operation; key and value names as the caller gave them.
struct Subject {
    RegOp operation;
    HKEY root;
    const std::string& key;
    std::string valueName;
};

bool Has(Options options, Options flag) {
    return (options & flag) != 0;
}

bool IsUnavailable(LONG code) {
    return code == ERROR_FILE_NOT_FOUND || code == ERROR_ACCESS_DENIED;
}

// Whether the options keep a failure from being reported.
bool IsIgnored(LONG code, Options options) {
    return (code == ERROR_FILE_NOT_FOUND && Has(options, IgnoreNotFound)) ||
           (code == ERROR_ACCESS_DENIED && Has(options, IgnoreDenied)) ||
           (IsUnavailable(code) && Has(options, IgnoreUnavailable));
}

// Runs an attempt until it succeeds, its failure is not to be reported, or the user
// chooses to ignore it. Every operation that can report goes through here. options are
// looked at after the attempt, which may change them.
LONG RunAttempts(const Subject& subject, const Options& options, FunctionRef<LONG()> attempt) {
    for (;;) {
        const LONG code = attempt();
        if (code == ERROR_SUCCESS || !Has(options, ShowErrors) || IsIgnored(code, options) ||
            !ReportRegError(subject.operation, subject.valueName, subject.root, subject.key,
                            code)) {
            return code;
        }
    }
}

LONG Open(HKEY root, const std::string& key, REGSAM access, handles::Key& handle) {
    return RegOpenKeyExA(root, key.c_str(), 0, access, handle.Receive());
}

struct Data {
    DWORD type = 0;
    std::string bytes;
};

LONG QueryData(HKEY handle, const std::string& name, Data& data) {
    DWORD size = 0;
    LONG code = RegQueryValueExA(handle, name.c_str(), nullptr, nullptr, nullptr, &size);
    if (code == ERROR_SUCCESS && size > kLargestValue) {
        return ERROR_MORE_DATA;
    }
    // A failed size query leaves the size at 0; the second call then gives the code.
    data.bytes.assign(size, '\0');
    code = RegQueryValueExA(handle, name.c_str(), nullptr, &data.type,
                            reinterpret_cast<LPBYTE>(data.bytes.data()), &size);
    data.bytes.resize(code == ERROR_SUCCESS && size < data.bytes.size() ? size : data.bytes.size());
    return code;
}

LONG CreateParts(HKEY root, const std::string& key) {
    handles::Key current;
    LONG code = RegOpenKeyExA(root, nullptr, 0, KEY_CREATE_SUB_KEY, current.Receive());
    for (std::size_t start = 0; code == ERROR_SUCCESS && start <= key.size();) {
        const std::size_t end = std::min(key.find('\\', start), key.size());
        handles::Key next;
        code = RegCreateKeyA(current.Get(), key.substr(start, end - start).c_str(), next.Receive());
        current = std::move(next);
        start = end + 1;
    }
    return code;
}

LONG ListSubkeys(HKEY root, const std::string& key, std::vector<std::string>& names) {
    names.clear();
    handles::Key handle;
    LONG code = Open(root, key, KEY_ENUMERATE_SUB_KEYS, handle);
    for (DWORD index = 0; code == ERROR_SUCCESS; ++index) {
        std::array<char, kNameBuffer> name{};
        code = RegEnumKeyA(handle.Get(), index, name.data(), kNameBuffer);
        if (code == ERROR_SUCCESS) {
            names.emplace_back(name.data());
        }
    }
    return code == ERROR_NO_MORE_ITEMS ? ERROR_SUCCESS : code;
}

// Deletes a key that has no subkeys, through a handle of its parent.
LONG DeleteLeaf(HKEY root, const std::string& key) {
    const std::size_t cut = key.rfind('\\');
    const bool direct = cut == std::string::npos;
    handles::Key parent;
    const LONG code =
        Open(root, direct ? std::string() : key.substr(0, cut), KEY_SET_VALUE, parent);
    return code == ERROR_SUCCESS ? RegDeleteKeyA(parent.Get(), key.c_str() + (direct ? 0 : cut + 1))
                                 : code;
}

// One level of the way down: the subkeys of a key and which of them comes next.
struct Level {
    std::size_t keyLength;
    std::vector<std::string> subkeys;
    std::size_t next = 0;
};

LONG Descend(HKEY root, const std::string& path, std::vector<Level>& levels) {
    levels.push_back({path.size(), {}});
    const LONG code = ListSubkeys(root, path, levels.back().subkeys);
    if (code == ERROR_FILE_NOT_FOUND) {
        levels.back().subkeys.clear();
        return ERROR_SUCCESS;
    }
    return code;
}

// Depth first. The levels are kept in a list of our own: the registry allows 512 of them,
// and names and lists on the program's stack would be too much for it.
LONG DeleteDepthFirst(HKEY root, const std::string& key) {
    std::string path = key;
    std::vector<Level> levels;
    LONG code = Descend(root, path, levels);
    while (code == ERROR_SUCCESS && !levels.empty()) {
        Level& level = levels.back();
        path.resize(level.keyLength);
        if (level.next < level.subkeys.size()) {
            path += Joined({"\\", level.subkeys[level.next++]});
            code = Descend(root, path, levels);
        } else {
            code = DeleteLeaf(root, path);
            levels.pop_back();
            if (code == ERROR_FILE_NOT_FOUND && !levels.empty()) {
                code = ERROR_SUCCESS;  // a subkey that somebody else has deleted meanwhile
            }
        }
    }
    return code;
}

}  // namespace

std::string RootKeyName(HKEY root) {
    const struct {
        HKEY key;
        const char* name;
    } roots[] = {{HKEY_CLASSES_ROOT, "HKEY_CLASSES_ROOT"},
                 {HKEY_CURRENT_USER, "HKEY_CURRENT_USER"},
                 {HKEY_LOCAL_MACHINE, "HKEY_LOCAL_MACHINE"},
                 {HKEY_USERS, "HKEY_USERS"}};
    for (const auto& known : roots) {
        if (known.key == root) {
            return known.name;
        }
    }
    return {};
}

LONG KeyExists(HKEY root, const std::string& key) {
    handles::Key handle;
    return Open(root, key, KEY_QUERY_VALUE, handle);
}

LONG OpenKeyForReading(HKEY root, const std::string& key, handles::Key& handle, Options options) {
    return RunAttempts({RegOpOpenForReading, root, key, {}}, options,
                       [&] { return Open(root, key, KEY_QUERY_VALUE, handle); });
}

LONG QueryValue(HKEY root, const std::string& key, HKEY handle, const std::string& name,
                std::string& text, Options options) {
    Data data;
    const LONG code = RunAttempts({RegOpRead, root, key, name}, options | IgnoreNotFound,
                                  [&] { return QueryData(handle, name, data); });
    text = code == ERROR_SUCCESS ? ValueTextFromData(data.type, data.bytes) : std::string();
    return code;
}

LONG ReadValue(HKEY root, const std::string& key, const std::string& name, std::string& text,
               Options options) {
    text.clear();
    return RunAttempts({RegOpRead, root, key, name}, options | IgnoreNotFound, [&] {
        handles::Key handle;
        const LONG code = OpenKeyForReading(root, key, handle, Silent);
        return code == ERROR_SUCCESS ? QueryValue(root, key, handle.Get(), name, text, Silent)
                                     : code;
    });
}

LONG OpenKeyForWriting(HKEY root, const std::string& key, handles::Key& handle, Options options) {
    Options reporting = options;
    return RunAttempts({RegOpOpenForWriting, root, key, {}}, reporting, [&] {
        const LONG code = Open(root, key, KEY_SET_VALUE, handle);
        if (code != ERROR_FILE_NOT_FOUND || !Has(options, CreateMissing)) {
            return code;
        }
        if (CreateKeyPath(root, key, options) != ERROR_SUCCESS) {
            reporting = Silent;  // the creation has reported its own failure
            return code;
        }
        return Open(root, key, KEY_SET_VALUE, handle);
    });
}

LONG SetValue(HKEY root, const std::string& key, HKEY handle, const std::string& name, DWORD type,
              std::string_view text, Options options) {
    std::string data;
    const LONG code = DataFromValueText(type, text, data);
    return code == ERROR_SUCCESS ? SetValueBytes(root, key, handle, name, type, data, options)
                                 : code;
}

LONG SetValueBytes(HKEY root, const std::string& key, HKEY handle, const std::string& name,
                   DWORD type, std::string_view data, Options options) {
    return RunAttempts({RegOpWrite, root, key, name}, options, [&] {
        return RegSetValueExA(handle, name.c_str(), 0, type,
                              reinterpret_cast<const BYTE*>(data.data()),
                              static_cast<DWORD>(data.size()));
    });
}

LONG WriteValue(HKEY root, const std::string& key, const std::string& name, DWORD type,
                std::string_view text, Options options) {
    return RunAttempts({RegOpWrite, root, key, name}, options, [&] {
        handles::Key handle;
        const LONG code = OpenKeyForWriting(root, key, handle, Silent);
        return code == ERROR_SUCCESS ? SetValue(root, key, handle.Get(), name, type, text, Silent)
                                     : code;
    });
}

LONG DeleteValueInKey(HKEY root, const std::string& key, HKEY handle, const std::string& name,
                      Options options) {
    return RunAttempts({RegOpDeleteValue, root, key, name}, options | IgnoreNotFound,
                       [&] { return RegDeleteValueA(handle, name.c_str()); });
}

LONG DeleteValue(HKEY root, const std::string& key, const std::string& name, Options options) {
    return RunAttempts({RegOpDeleteValue, root, key, name}, options | IgnoreNotFound, [&] {
        handles::Key handle;
        const LONG code = OpenKeyForWriting(root, key, handle, Silent);
        return code == ERROR_SUCCESS ? DeleteValueInKey(root, key, handle.Get(), name, Silent)
                                     : code;
    });
}

LONG CreateKeyPath(HKEY root, const std::string& key, Options options) {
    if (key.empty()) {
        return ERROR_SUCCESS;
    }
    return RunAttempts({RegOpCreateKey, root, key, {}}, options,
                       [&] { return CreateParts(root, key); });
}

LONG EnumSubkeys(HKEY root, const std::string& key, std::vector<std::string>& names,
                 Options options) {
    return RunAttempts({RegOpEnumSubkeys, root, key, {}}, options,
                       [&] { return ListSubkeys(root, key, names); });
}

LONG DeleteKeyTree(HKEY root, const std::string& key, Options options) {
    if (key.empty()) {
        return ERROR_INVALID_PARAMETER;
    }
    return RunAttempts({RegOpDeleteKey, root, key, {}}, options | IgnoreNotFound,
                       [&] { return DeleteDepthFirst(root, key); });
}

}  // namespace modRegistry
