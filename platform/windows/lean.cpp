// Keeps the exe small: the C++ library's own versions of these functions bring its exceptions
// and a formatter of their messages, which nobody would catch or see here. The exe has 68,096
// bytes with this file and 243,712 without it.
#include <exception>
#include <new>

#include "common/modGeneral.h"

// The library's code for texts and containers is linked against these names.
// NOLINTBEGIN(cert-dcl50-cpp,cert-dcl58-cpp): their names and arguments are the library's
namespace std {
void __throw_bad_alloc() {
    EndWithoutMemory();
}
// More elements than memory could ever hold.
void __throw_bad_array_new_length() {
    EndWithoutMemory();
}
// The others report a fault of the program, one that its own checks rule out.
void __throw_logic_error(const char* /*text*/) {
    EndProgram();
}
void __throw_length_error(const char* /*text*/) {
    EndProgram();
}
void __throw_out_of_range_fmt(const char* /*format*/, ...) {
    EndProgram();
}
}  // namespace std
// NOLINTEND(cert-dcl50-cpp,cert-dcl58-cpp)
