// The registry of a sandbox: where a key is kept, and its reading and writing.
#include "platform/hosted/registry/store.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <set>

#include "platform/hosted/registry/registry.h"

namespace hosted {
namespace {

constexpr const char* kFile = "registry.reg";

bool WriteAndRename(const fs::path& file, const std::string& text) {
    // Of this process alone: two at a time must not write into one.
    const fs::path fresh = file.string() + "." + std::to_string(getpid());
    std::ofstream stream(fresh, std::ios::binary);
    std::error_code error;
    bool done = static_cast<bool>((stream << text).flush());
    if (done) {
        fs::rename(fresh, file, error);
        done = !error;
    }
    fs::remove(fresh, error);
    return done;
}

}  // namespace

RegistryState::RegistryState(const Sandbox& sandbox) : user(sandbox.GetSettings().user) {
    // A sandbox without the file has an empty registry.
    const bool exists = fs::exists(sandbox.Folder() / kFile);
    try {
        keys = regtext::Parse(exists ? sandbox.Read(kFile) : regtext::Format({}), user);
    } catch (const regtext::Damage& damage) {
        sandbox.Damaged(kFile, damage.line, damage.what());
    }
    for (const char* name :
         {"HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER", "HKEY_LOCAL_MACHINE", "HKEY_USERS"}) {
        handles.emplace(kFirstRoot + handles.size(), OpenedKey{name});
    }
}

RegistryState& RegistryState::Ours() {
    Sandbox& sandbox = Sandbox::Current();
    if (sandbox.registry == nullptr) {
        sandbox.registry = std::make_shared<RegistryState>(sandbox);
    }
    return *sandbox.registry;
}

std::vector<regtext::Keys::iterator> RegistryState::Find(const std::string& name) {
    std::vector<regtext::Keys::iterator> found;
    for (const std::string& place : regtext::PlacesOf(ToUtf8(name), user)) {
        if (const auto key = keys.find(place); key != keys.end()) {
            found.push_back(key);
        }
    }
    return found;
}

regtext::Values& RegistryState::Make(const std::string& name) {
    const auto found = Find(name);
    changed = true;
    return found.empty() ? regtext::AddKey(keys, regtext::PlacesOf(ToUtf8(name), user).back())
                         : found.front()->second;
}

std::vector<std::string> RegistryState::SubkeysOf(const std::string& name) {
    std::set<std::string, regtext::ByName> names;
    for (const auto& key : Find(name)) {
        const std::size_t length = key->first.size() + 1;
        const auto end = keys.lower_bound(regtext::EndOf(key->first));
        for (auto below = std::next(key); below != end; ++below) {
            if (below->first.find('\\', length) == std::string::npos) {
                names.insert(below->first.substr(length));
            }
        }
    }
    std::vector<std::string> list(names.size());
    std::transform(names.begin(), names.end(), list.begin(), FromUtf8);
    return list;
}

void LoadRegistry() {
    RegistryState::Ours();
}

void SaveRegistry() {
    const Sandbox& sandbox = Sandbox::Current();
    if (sandbox.registry == nullptr || !sandbox.registry->changed) {
        return;
    }
    if (!WriteAndRename(sandbox.Folder() / kFile, regtext::Format(sandbox.registry->keys))) {
        sandbox.Damaged(kFile, 0, "it cannot be written");
    }
    sandbox.registry->changed = false;
}

std::vector<std::string> OpenKeys() {
    std::vector<std::string> names;
    const auto& handles = RegistryState::Ours().handles;
    for (auto handle = handles.begin(); handle->first < kFirstRoot; ++handle) {
        names.push_back(handle->second.name);
    }
    return names;
}

void RemoveKey(std::string_view fullName) {
    RegistryState& registry = RegistryState::Ours();
    const std::string name(fullName);
    const auto found = registry.Find(name);
    if (!RegistryState::IsRoot(name) && !found.empty()) {
        regtext::RemoveTree(registry.keys, std::string(found.front()->first));
        registry.changed = true;
    }
}

}  // namespace hosted
