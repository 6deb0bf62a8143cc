// What the file functions share.
#pragma once

#include <string>
#include <vector>

#include "platform/hosted/files/handle_table.h"
#include "platform/hosted/files/paths.h"

namespace hosted {

// A search under way: the names still to be reported, as the folder stores them.
struct FindState : HandleObject {
    std::string folder;  // on the disk
    std::vector<std::string> names;
    std::size_t next = 0;
};

// Deletes a file or a link (never what it points to), or an empty folder, unless somebody
// or machine.ini stands against it. The machine is locked. Result: a Win32 code.
DWORD RemoveItem(const std::string& host, const struct stat& status);

}  // namespace hosted
