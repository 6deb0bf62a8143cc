// Short (8.3) forms of paths.
#pragma once

#include <string>

// The short form of an existing path (Windows-1252), a trailing backslash kept. Raises
// run-time error 5, with the system's reason, when there is none; never gives the long
// path in its place. Empty if the path disappears while it is being asked for.
std::string GetShortPathAlways(const std::string& longPath);
