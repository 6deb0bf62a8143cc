// Short (8.3) forms of paths.
#pragma once

#include <string>

#include "common/modRuntimeError.h"

// The short form of an existing path (Windows-1252), a trailing backslash kept. Run-time
// error 5, with the system's reason, when there is none; never the long path in its place.
// Empty if the path disappears, or its short form grows, while it is being asked for.
Result<std::string> GetShortPathAlways(const std::string& longPath);
