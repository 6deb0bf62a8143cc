#include "platform/hosted/handle_table.h"

#include "platform/hosted/files.h"

namespace hosted {

HANDLE HandleTable::Add(std::unique_ptr<HandleObject> object) {
    const std::uintptr_t value = next_;
    next_ += 4;
    objects_.emplace(value, std::move(object));
    return reinterpret_cast<HANDLE>(value);
}

std::string HandleTable::NameOf(HANDLE handle) const {
    const LayerScope layer;
    const auto place = objects_.find(reinterpret_cast<std::uintptr_t>(handle));
    return place == objects_.end() ? std::string() : place->second->name;
}

bool HandleTable::Close(HANDLE handle) {
    const auto place = objects_.find(reinterpret_cast<std::uintptr_t>(handle));
    if (place == objects_.end()) {
        return false;
    }
    place->second->Closing();
    objects_.erase(place);
    return true;
}

}  // namespace hosted

// Closes a file, process or thread handle.
BOOL WINAPI CloseHandle(HANDLE handle) {
    hosted::Call call("CloseHandle", hosted::HandleTable::Ours().NameOf(handle));
    if (call.Refused()) {
        return FALSE;
    }
    auto& handles = hosted::HandleTable::Ours();
    const bool isFind = handles.Find<hosted::FindState>(handle) != nullptr;
    return !isFind && handles.Close(handle) ? TRUE : call.Fail(ERROR_INVALID_HANDLE);
}

BOOL WINAPI FindClose(HANDLE handle) {
    hosted::Call call("FindClose", hosted::HandleTable::Ours().NameOf(handle));
    if (call.Refused()) {
        return FALSE;
    }
    auto& handles = hosted::HandleTable::Ours();
    const bool isFind = handles.Find<hosted::FindState>(handle) != nullptr;
    return isFind && handles.Close(handle) ? TRUE : call.Fail(ERROR_INVALID_HANDLE);
}
