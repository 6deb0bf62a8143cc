#include "tests/support/state.h"

namespace support {
Things ThingsOf(const State& state) {
    Things things;
    for (const auto& [path, file] : state.files) {
        things[path] =
            file.attributes + std::to_string(file.size) + " " + std::to_string(file.digest);
    }
    for (const auto& [key, values] : state.keys) {
        things[key] = "a key";
        for (const auto& [name, value] : values) {
            things[key + "|" + name] = value;
        }
    }
    return things;
}

}  // namespace support
