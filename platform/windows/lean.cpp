// Keeps the exe small: the C++ library's own versions of these functions bring a
// formatter of messages (some 40 KB) that nobody would see.
// Exceptions work as ever; only their texts are plain.
#include <exception>
#include <new>

// Referenced by the library's code for texts and containers, which is linked against
// these names. What they report is a fault of the program: error number 51 to whoever
// records it, whatever its type.
namespace std {
void __throw_bad_alloc() {
    throw bad_alloc();
}
void __throw_bad_array_new_length() {
    throw bad_array_new_length();
}
void __throw_logic_error(const char* /*text*/) {
    throw exception();
}
void __throw_length_error(const char* /*text*/) {
    throw exception();
}
void __throw_out_of_range_fmt(const char* /*format*/, ...) {
    throw exception();
}
}  // namespace std
