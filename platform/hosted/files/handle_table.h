// The handles of this process.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "platform/hosted/machine.h"

namespace hosted {

struct HandleObject {
    HandleObject() = default;
    virtual ~HandleObject() = default;
    HandleObject(const HandleObject&) = delete;
    HandleObject& operator=(const HandleObject&) = delete;
    std::string name;  // what it was opened as, UTF-8
    // The handle is closed (not: the process forgets its machine).
    virtual void Closing() {}
};

class HandleTable {
 public:
    static HandleTable& Ours() { return Machine::Current().Part<HandleTable>(); }

    HANDLE Add(std::unique_ptr<HandleObject> object);
    // The object behind a handle, null if the handle is none of that kind.
    template <typename T>
    [[nodiscard]] T* Find(HANDLE handle) {
        const auto place = objects_.find(reinterpret_cast<std::uintptr_t>(handle));
        return place == objects_.end() ? nullptr : dynamic_cast<T*>(place->second.get());
    }
    // The name of what a handle stands for; empty if there is no such handle.
    [[nodiscard]] std::string NameOf(HANDLE handle) const;
    // False if there is no such handle.
    bool Close(HANDLE handle);

 private:
    std::map<std::uintptr_t, std::unique_ptr<HandleObject>> objects_;
    // Never used twice, so that a handle used after it was closed is noticed. Small, since
    // OpenFile gives it as an int.
    std::uintptr_t next_ = 4;
};

}  // namespace hosted
