// The shell answers with an item list; a path is made of that.
#include "common/modGetSpecialFolderPath.h"

#include "platform/handles.h"

std::string GetSpecialFolderPath(int folder) {
    handles::ItemList list;
    if (SHGetSpecialFolderLocation(nullptr, folder, list.Receive()) != 0) {
        return {};
    }
    // SHGetPathFromIDListA writes at most MAX_PATH characters, the terminating NUL included.
    std::string path(MAX_PATH, ' ');
    if (SHGetPathFromIDListA(list.Get(), path.data()) == FALSE) {
        return {};
    }
    path.resize(path.find('\0') == std::string::npos ? 0 : path.find('\0'));
    return path;
}
