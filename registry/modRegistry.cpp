// Every operation is a loop: an attempt, and where the caller wants it a report that may lead
// to another one. What an attempt opens is closed before the report.
#include "registry/modRegistry.h"

#include <algorithm>
#include <array>

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
    std::string valueName = {};
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

// Whether an attempt that gave this code is to be followed by another: its failure was to be
// reported, and the user has chosen to try again.
bool UserRetries(const Subject& subject, LONG code, Options options) {
    return code != ERROR_SUCCESS && Has(options, ShowErrors) && !IsIgnored(code, options) &&
           ReportRegError(subject.operation, subject.valueName, subject.root, subject.key, code);
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

// Depth first. A level takes some 130 bytes of the stack, and the registry allows 512 levels.
LONG DeleteDepthFirst(HKEY root, const std::string& key) {
    std::vector<std::string> subkeys;
    const LONG listed = ListSubkeys(root, key, subkeys);
    if (listed != ERROR_SUCCESS) {
        return listed;
    }
    for (const std::string& subkey : subkeys) {
        const LONG code = DeleteDepthFirst(root, Joined({key, "\\", subkey}));
        // A subkey that someone else has deleted in between is no failure: its code would pass
        // for that of a key that was never there, and the tree would stay without a word.
        if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND) {
            return code;
        }
    }
    return DeleteLeaf(root, key);
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
    LONG code = ERROR_SUCCESS;
    do {
        code = Open(root, key, KEY_QUERY_VALUE, handle);
    } while (UserRetries({RegOpOpenForReading, root, key}, code, options));
    return code;
}

LONG QueryValue(HKEY root, const std::string& key, HKEY handle, const std::string& name,
                std::string& text, Options options) {
    LONG code = ERROR_SUCCESS;
    Data data;
    do {
        code = QueryData(handle, name, data);
    } while (UserRetries({RegOpRead, root, key, name}, code, options | IgnoreNotFound));
    text = code == ERROR_SUCCESS ? ValueTextFromData(data.type, data.bytes) : std::string();
    return code;
}

LONG ReadValue(HKEY root, const std::string& key, const std::string& name, std::string& text,
               Options options) {
    LONG code = ERROR_SUCCESS;
    text.clear();
    do {
        handles::Key handle;
        code = OpenKeyForReading(root, key, handle, Silent);
        if (code == ERROR_SUCCESS) {
            code = QueryValue(root, key, handle.Get(), name, text, Silent);
        }
    } while (UserRetries({RegOpRead, root, key, name}, code, options | IgnoreNotFound));
    return code;
}

LONG OpenKeyForWriting(HKEY root, const std::string& key, handles::Key& handle, Options options) {
    LONG code = ERROR_SUCCESS;
    do {
        code = Open(root, key, KEY_SET_VALUE, handle);
        if (code == ERROR_FILE_NOT_FOUND && Has(options, CreateMissing)) {
            if (CreateKeyPath(root, key, options) != ERROR_SUCCESS) {
                return code;  // the creation has reported its own failure
            }
            code = Open(root, key, KEY_SET_VALUE, handle);
        }
    } while (UserRetries({RegOpOpenForWriting, root, key}, code, options));
    return code;
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
    LONG code = ERROR_SUCCESS;
    do {
        code = RegSetValueExA(handle, name.c_str(), 0, type,
                              reinterpret_cast<const BYTE*>(data.data()),
                              static_cast<DWORD>(data.size()));
    } while (UserRetries({RegOpWrite, root, key, name}, code, options));
    return code;
}

LONG WriteValue(HKEY root, const std::string& key, const std::string& name, DWORD type,
                std::string_view text, Options options) {
    LONG code = ERROR_SUCCESS;
    do {
        handles::Key handle;
        code = OpenKeyForWriting(root, key, handle, Silent);
        if (code == ERROR_SUCCESS) {
            code = SetValue(root, key, handle.Get(), name, type, text, Silent);
        }
    } while (UserRetries({RegOpWrite, root, key, name}, code, options));
    return code;
}

LONG DeleteValueInKey(HKEY root, const std::string& key, HKEY handle, const std::string& name,
                      Options options) {
    LONG code = ERROR_SUCCESS;
    do {
        code = RegDeleteValueA(handle, name.c_str());
    } while (UserRetries({RegOpDeleteValue, root, key, name}, code, options | IgnoreNotFound));
    return code;
}

LONG DeleteValue(HKEY root, const std::string& key, const std::string& name, Options options) {
    LONG code = ERROR_SUCCESS;
    do {
        handles::Key handle;
        code = OpenKeyForWriting(root, key, handle, Silent);
        if (code == ERROR_SUCCESS) {
            code = DeleteValueInKey(root, key, handle.Get(), name, Silent);
        }
    } while (UserRetries({RegOpDeleteValue, root, key, name}, code, options | IgnoreNotFound));
    return code;
}

LONG CreateKeyPath(HKEY root, const std::string& key, Options options) {
    if (key.empty()) {
        return ERROR_SUCCESS;
    }
    LONG code = ERROR_SUCCESS;
    do {
        code = CreateParts(root, key);
    } while (UserRetries({RegOpCreateKey, root, key}, code, options));
    return code;
}

LONG EnumSubkeys(HKEY root, const std::string& key, std::vector<std::string>& names,
                 Options options) {
    LONG code = ERROR_SUCCESS;
    do {
        code = ListSubkeys(root, key, names);
    } while (UserRetries({RegOpEnumSubkeys, root, key}, code, options));
    return code;
}

LONG DeleteKeyTree(HKEY root, const std::string& key, Options options) {
    if (key.empty()) {
        return ERROR_INVALID_PARAMETER;
    }
    LONG code = ERROR_SUCCESS;
    do {
        code = DeleteDepthFirst(root, key);
    } while (UserRetries({RegOpDeleteKey, root, key}, code, options | IgnoreNotFound));
    return code;
}

}  // namespace modRegistry
