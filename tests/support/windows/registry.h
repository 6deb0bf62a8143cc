// The real registry, read and changed for the tests. Key names are full and UTF-8; the
// staged user stands for whoever runs the tests.
#pragma once

#include <string>

#include "platform/hosted/registry/text.h"

namespace support {

// All that the tests compare: the machine's software and every user's. Left out are a few
// large branches of the system that neither the product nor any test has keys in.
regtext::Keys ReadRealRegistry();
void MakeKey(const std::string& key);
void DeleteKeyTree(const std::string& key);
void SetRealValue(const std::string& key, const std::string& name, const std::string& value);
void DeleteRealValue(const std::string& key, const std::string& name);

}  // namespace support
