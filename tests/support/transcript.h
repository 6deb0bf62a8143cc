// What a run showed, as lines that compare and read well:
//
//   [?] *Yes No -> Yes: text             a message box: icon (x stop, ! warning, ? question,
//                                        i information), buttons, * the default, the answer
//   frmUnInstProc: text                  a window with its labels and text boxes
//   frmUnInstDone -> close: one | two    the same, and how it was left (click, close)
//
// In the texts "\n" stands for CR LF, "\l" for a lone LF, "\t" for a tab; a backslash for
// itself.
#pragma once

#include <string>
#include <vector>

namespace support {

// The transcript.txt of a hosted machine.
std::vector<std::string> ParseTranscript(const std::string& transcript);

// A message box by the style that it was asked for with.
std::string BoxLine(unsigned style, const std::string& answer, const std::string& text);

// A text with its control characters as above.
std::string Readable(const std::string& text);

}  // namespace support
