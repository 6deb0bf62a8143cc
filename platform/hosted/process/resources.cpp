// The resources that the program carries.
#include <algorithm>

#include "platform/hosted/machine.h"
#include "platform/hosted/process/stored_resources.h"

namespace {

const hosted::StoredResource* Behind(HRSRC resource) {
    return reinterpret_cast<const hosted::StoredResource*>(resource);
}

}  // namespace

// By number (MAKEINTRESOURCE); 1814 for an unknown one.
HRSRC WINAPI FindResourceA(HMODULE /*module*/, LPCSTR name, LPCSTR type) {
    const auto id = reinterpret_cast<std::uintptr_t>(name);
    hosted::Call call("FindResourceA", std::to_string(id));
    for (const hosted::StoredResource& resource : hosted::StoredResources()) {
        if (!call.Refused() && resource.id == id &&
            hosted::EqualIgnoringCase(resource.type, type)) {
            return reinterpret_cast<HRSRC>(const_cast<hosted::StoredResource*>(&resource));
        }
    }
    call.Fail(call.Refused() ? call.Code() : ERROR_RESOURCE_NAME_NOT_FOUND);
    return nullptr;
}

HGLOBAL WINAPI LoadResource(HMODULE /*module*/, HRSRC resource) {
    const hosted::Call call("LoadResource");
    return call.Refused() ? nullptr : const_cast<unsigned char*>(Behind(resource)->data);
}

LPVOID WINAPI LockResource(HGLOBAL data) {
    const hosted::Call call("LockResource");
    return call.Refused() ? nullptr : data;
}

DWORD WINAPI SizeofResource(HMODULE /*module*/, HRSRC resource) {
    const hosted::Call call("SizeofResource");
    return call.Refused() ? 0 : static_cast<DWORD>(Behind(resource)->size);
}
