// The way of a text from Windows to the command interpreter.
#pragma once

#include <string>
#include <string_view>

// A Windows-1252 text in code page 850, byte for byte. Characters that code page 850 lacks
// (the codes 128 to 159 except the florin sign) keep their Windows code; the no-break
// space becomes an ordinary one.
std::string WinTextToDOSText(std::string_view text);
