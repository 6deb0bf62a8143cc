// Keeps the exe small: the C++ library's own versions of these functions bring its
// exceptions and a formatter of messages (some 60 KB), for texts that nobody would see.
#include <exception>
#include <new>

#include "common/modGeneral.h"

// Referenced by the library's code for texts and containers, which is linked against
// these names. What they report is a fault of the program.
// NOLINTBEGIN(cert-dcl50-cpp,cert-dcl58-cpp): their names and arguments are the library's
namespace std {
void __throw_bad_alloc() {
    EndWithoutMemory();
}
void __throw_bad_array_new_length() {
    EndWithoutMemory();
}
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
