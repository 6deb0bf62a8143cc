// The resources that the program carries.
#include <algorithm>

#include "platform/hosted/call.h"
#include "platform/hosted/process/stored_resources.h"

namespace {

const hosted::StoredResource* ResourceOf(HRSRC resource) {
    return reinterpret_cast<const hosted::StoredResource*>(resource);
}

const hosted::StoredResource* Find(std::uintptr_t id, const char* type) {
    for (const hosted::StoredResource& resource : hosted::StoredResources()) {
        if (resource.id == id && hosted::EqualIgnoringCase(resource.type, type)) {
            return &resource;
        }
    }
    return nullptr;
}

}  // namespace

// By number (MAKEINTRESOURCE); 1814 for an unknown one.
HRSRC WINAPI FindResourceA(HMODULE /*module*/, LPCSTR name, LPCSTR type) {
    const auto id = reinterpret_cast<std::uintptr_t>(name);
    hosted::Call call("FindResourceA", std::to_string(id));
    const hosted::StoredResource* const found = Find(id, type);
    return call.Run([&] { return found == nullptr ? ERROR_RESOURCE_NAME_NOT_FOUND : 0; }) != FALSE
               ? reinterpret_cast<HRSRC>(const_cast<hosted::StoredResource*>(found))
               : nullptr;
}

HGLOBAL WINAPI LoadResource(HMODULE /*module*/, HRSRC resource) {
    const bool given = hosted::Call("LoadResource").Run() != FALSE;
    return given ? const_cast<unsigned char*>(ResourceOf(resource)->data) : nullptr;
}

LPVOID WINAPI LockResource(HGLOBAL data) {
    return hosted::Call("LockResource").Run() != FALSE ? data : nullptr;
}

DWORD WINAPI SizeofResource(HMODULE /*module*/, HRSRC resource) {
    const bool given = hosted::Call("SizeofResource").Run() != FALSE;
    return given ? static_cast<DWORD>(ResourceOf(resource)->size) : 0;
}
