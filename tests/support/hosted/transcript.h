// The transcript.txt of a hosted machine as the lines that flow.h describes.
#pragma once

#include <string>
#include <vector>

namespace support {

std::vector<std::string> ParseTranscript(const std::string& transcript);

}  // namespace support
