#include "platform/hosted/registry/tree.h"

#include <utility>

#include "platform/hosted/machine.h"

namespace hosted {

namespace {

void MarkDeleted(RegistryNode& key) {
    key.deleted = true;
    key.parent = nullptr;
    for (const auto& [name, child] : key.children) {
        MarkDeleted(*child);  // at most kDeepestKey levels
    }
}

}  // namespace

std::string RegistryNode::FullName() const {
    if (parent == nullptr || parent->parent == nullptr) {
        return name;
    }
    return parent->FullName() + '\\' + name;
}

const RegistryValue* RegistryNode::FindValue(std::string_view valueName) const {
    const auto found = values.find(UpperCase(valueName));
    return found == values.end() ? nullptr : &found->second;
}

std::string_view TakePathPart(std::string_view& path) {
    const std::size_t end = path.find('\\');
    const std::string_view part = path.substr(0, end);
    path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
    return part;
}

RegistryTree::RegistryTree() : top_(std::make_shared<RegistryNode>()) {
    Create("HKEY_LOCAL_MACHINE");
    Create("HKEY_USERS");
}

std::shared_ptr<RegistryNode> RegistryTree::FindDeepest(std::string_view fullName,
                                                        std::string_view& rest) const {
    const std::string upper = UpperCase(fullName);
    std::string_view left = upper;
    const std::shared_ptr<RegistryNode>* key = &top_;
    while (!left.empty()) {
        std::string_view after = left;
        const auto found = (*key)->children.find(TakePathPart(after));
        if (found == (*key)->children.end()) {
            break;
        }
        key = &found->second;
        left = after;
    }
    // Upper case is as long as the name itself, so the rest has the same place in both.
    rest = fullName.substr(fullName.size() - left.size());
    return *key;
}

std::shared_ptr<RegistryNode> RegistryTree::Find(std::string_view fullName) const {
    std::string_view rest;
    std::shared_ptr<RegistryNode> key = FindDeepest(fullName, rest);
    return rest.empty() ? key : nullptr;
}

std::shared_ptr<RegistryNode> RegistryTree::Create(std::string_view fullName) {
    std::string_view rest;
    std::shared_ptr<RegistryNode> key = FindDeepest(fullName, rest);
    while (!rest.empty()) {
        auto child = std::make_shared<RegistryNode>();
        child->name = TakePathPart(rest);
        child->parent = key.get();
        key->children.emplace(UpperCase(child->name), child);
        key->changes++;
        changes_++;
        key = std::move(child);
    }
    return key;
}

void RegistryTree::Delete(RegistryNode& key) {
    RegistryNode* parent = key.parent;
    const auto found = parent->children.find(UpperCase(key.name));
    const std::shared_ptr<RegistryNode> keep = found->second;  // key itself, to the end
    parent->children.erase(found);
    parent->changes++;
    changes_++;
    MarkDeleted(*keep);
}

void RegistryTree::SetValue(RegistryNode& key, std::string_view name, DWORD type,
                            std::string data) {
    RegistryValue& value = key.values[UpperCase(name)];
    if (value.order == 0) {  // new: an old one keeps its place and its spelling
        value.name = name;
        value.order = ++valuesMade_;
    }
    value.type = type;
    value.data = std::move(data);
}

bool RegistryTree::DeleteValue(RegistryNode& key, std::string_view name) {
    return key.values.erase(UpperCase(name)) != 0;
}

}  // namespace hosted
