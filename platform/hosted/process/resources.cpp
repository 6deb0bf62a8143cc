// The resources that the program carries.
#include <charconv>

#include "platform/hosted/machine.h"
#include "platform/hosted/process/stored_resources.h"

namespace hosted {
namespace {

// The id that a resource name means: a number in place of a pointer, or "#101".
unsigned IdOf(LPCSTR name) {
    const auto value = reinterpret_cast<std::uintptr_t>(name);
    if (value <= 0xFFFF) {
        return static_cast<unsigned>(value);
    }
    const std::string_view text = name;
    unsigned id = 0;
    if (text.starts_with('#')) {
        std::from_chars(text.data() + 1, text.data() + text.size(), id);
    }
    return id;
}

bool IsType(const StoredResource& resource, LPCSTR type) {
    return reinterpret_cast<std::uintptr_t>(type) > 0xFFFF &&
           EqualIgnoringCase(resource.type, type);
}

const StoredResource* Behind(HRSRC resource) {
    return reinterpret_cast<const StoredResource*>(resource);
}

}  // namespace
}  // namespace hosted

// 1813 for an unknown type, 1814 for an unknown name.
HRSRC WINAPI FindResourceA(HMODULE /*module*/, LPCSTR name, LPCSTR type) {
    hosted::Call call("FindResourceA", std::to_string(hosted::IdOf(name)));
    if (call.Refused()) {
        return nullptr;
    }
    DWORD code = ERROR_RESOURCE_TYPE_NOT_FOUND;
    for (const hosted::StoredResource& resource : hosted::StoredResources()) {
        if (!hosted::IsType(resource, type)) {
            continue;
        }
        if (resource.id == hosted::IdOf(name)) {
            return reinterpret_cast<HRSRC>(const_cast<hosted::StoredResource*>(&resource));
        }
        code = ERROR_RESOURCE_NAME_NOT_FOUND;
    }
    call.Fail(code);
    return nullptr;
}

HGLOBAL WINAPI LoadResource(HMODULE /*module*/, HRSRC resource) {
    hosted::Call call("LoadResource");
    if (call.Refused()) {
        return nullptr;
    }
    if (resource == nullptr) {
        call.Fail(ERROR_RESOURCE_DATA_NOT_FOUND);
        return nullptr;
    }
    return const_cast<unsigned char*>(hosted::Behind(resource)->data);
}

LPVOID WINAPI LockResource(HGLOBAL data) {
    const hosted::Call call("LockResource");
    return call.Refused() ? nullptr : data;
}

DWORD WINAPI SizeofResource(HMODULE /*module*/, HRSRC resource) {
    const hosted::Call call("SizeofResource");
    return call.Refused() || resource == nullptr
               ? 0
               : static_cast<DWORD>(hosted::Behind(resource)->size);
}
