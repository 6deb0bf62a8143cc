// The owner of a file descriptor.
#pragma once

#include <unistd.h>

#include "platform/handles.h"

namespace hosted {

struct DescriptorKind {
    using Value = int;
    static Value Nothing() noexcept { return -1; }
    static void Close(Value value) noexcept { close(value); }
};
using Descriptor = handles::Owned<DescriptorKind>;

}  // namespace hosted
