// Reading and writing the registry of a machine.
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <memory>

#include "platform/hosted/registry/registry.h"
#include "platform/hosted/registry/state.h"

namespace hosted {
namespace {

fs::path FileOf(const Machine& machine) {
    return machine.Folder() / "registry.reg";
}

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

RegistryState::RegistryState(const Machine& machine) : user(ToUtf8(machine.GetSettings().user)) {
    const fs::path file = FileOf(machine);
    std::string text = "REGEDIT4";  // a machine without the file has an empty registry
    if (fs::exists(file)) {
        std::ifstream stream(file, std::ios::binary);
        text.assign(std::istreambuf_iterator<char>(stream), {});
    }
    try {
        keys = regtext::Parse(text, user);
    } catch (const regtext::Damage& damage) {
        machine.Damaged(file, damage.line, damage.what());
    }
    for (const Denial& denial : machine.GetSettings().denied) {
        for (const std::string& place : regtext::PlacesOf(ToUtf8(denial.key), user)) {
            refused[place] |= denial.rights;
        }
    }
    for (const char* name :
         {"HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER", "HKEY_LOCAL_MACHINE", "HKEY_USERS"}) {
        OpenedKey root = At(name);
        root.rights = kAllRights & ~Refused(root.Winner(), kAllRights);
        handles.emplace(kFirstRoot + handles.size(), std::move(root));
    }
}

RegistryState& RegistryState::Ours() {
    Machine& machine = Machine::Current();
    if (machine.registry == nullptr) {
        machine.registry = std::make_shared<RegistryState>(machine);
    }
    return *machine.registry;
}

OpenedKey RegistryState::At(std::string name) {
    OpenedKey key;
    key.places = regtext::PlacesOf(name, user);
    key.name = std::move(name);
    LookUp(key);
    return key;
}

void RegistryState::LookUp(OpenedKey& key) {
    if (key.changes == changes) {
        return;
    }
    key.changes = changes;
    key.subkeys.clear();
    key.found.clear();
    for (const std::string& place : key.places) {
        if (const auto found = keys.find(place); found != keys.end()) {
            key.found.push_back(found);
        }
    }
}

REGSAM RegistryState::Refused(const std::string& place, REGSAM rights) const {
    const auto found = refused.find(place);
    return found == refused.end() ? 0 : found->second & rights;
}

void LoadRegistry() {
    RegistryState::Ours();
}

void SaveRegistry() {
    const Machine& machine = Machine::Current();
    if (machine.registry == nullptr || machine.registry->saved) {
        return;
    }
    if (!WriteAndRename(FileOf(machine), regtext::Format(machine.registry->keys))) {
        machine.Damaged(FileOf(machine), 0, "it cannot be written");
    }
    machine.registry->saved = true;
}

std::vector<std::string> OpenKeys() {
    std::vector<std::string> names;
    const auto& registry = Machine::Current().registry;
    if (registry != nullptr) {
        const auto roots = registry->handles.lower_bound(kFirstRoot);
        for (auto handle = registry->handles.begin(); handle != roots; ++handle) {
            names.push_back(handle->second.name);
        }
    }
    return names;
}

void RemoveKey(std::string_view fullName) {
    RegistryState& registry = RegistryState::Ours();
    const OpenedKey key = registry.At(ToUtf8(fullName));
    if (!key.IsRoot() && !key.found.empty()) {
        regtext::RemoveTree(registry.keys, std::string(key.Winner()));
        registry.CountChange();
    }
}

}  // namespace hosted
