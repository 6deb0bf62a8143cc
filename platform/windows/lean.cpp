// Keeps the exe small: the C++ library's own versions of these functions bring its
// exceptions and a formatter of messages (some 60 KB), for texts that nobody would see.
#include <exception>
#include <new>

// Shows the report of an internal error and ends the program (common/modGeneral.h).
[[noreturn]] void EndWithInternalError();

// Referenced by the library's code for texts and containers, which is linked against
// these names. What they report is a fault of the program.
// NOLINTBEGIN(cert-dcl50-cpp,cert-dcl58-cpp): their names and arguments are the library's
namespace std {
void __throw_bad_alloc() {
    EndWithInternalError();
}
void __throw_bad_array_new_length() {
    EndWithInternalError();
}
void __throw_logic_error(const char* /*text*/) {
    EndWithInternalError();
}
void __throw_length_error(const char* /*text*/) {
    EndWithInternalError();
}
void __throw_out_of_range_fmt(const char* /*format*/, ...) {
    EndWithInternalError();
}
}  // namespace std
// NOLINTEND(cert-dcl50-cpp,cert-dcl58-cpp)
