// What MicrosoftHost.cpp needs of a C++ run-time library beyond the system's DLLs: the parts of GCC's headers
// that lie in its library, which is built for another ABI. Texts of exceptions are never freed.
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

extern "C" void __stdcall ExitProcess(unsigned int code);

// Replaces the table of type_info, to which every type descriptor points and which nobody calls; a linker
// option maps the name.
extern "C" {
const void* zqTypeInfoTable[2] = {};
}

namespace std {

exception::~exception() noexcept {}
const char* exception::what() const noexcept { return "std::exception"; }
bad_alloc::~bad_alloc() noexcept {}
const char* bad_alloc::what() const noexcept { return "std::bad_alloc"; }

__cow_string::__cow_string() : _M_p(nullptr) {}
__cow_string::~__cow_string() {}

runtime_error::runtime_error(const string& text) { _M_msg._M_p = ::strdup(text.c_str()); }
runtime_error::runtime_error(const char* text) { _M_msg._M_p = ::strdup(text); }
runtime_error::runtime_error(const runtime_error& other) noexcept : exception(other) {
    _M_msg._M_p = other._M_msg._M_p;
}
runtime_error::~runtime_error() noexcept {}
const char* runtime_error::what() const noexcept { return _M_msg._M_p; }

void terminate() noexcept {
    ExitProcess(4);
    ::abort();
}
void __throw_length_error(const char* text) { throw runtime_error(text); }
void __throw_logic_error(const char* text) { throw runtime_error(text); }
void __throw_bad_alloc() { throw bad_alloc(); }
void __throw_bad_array_new_length() { throw bad_alloc(); }
void __throw_bad_function_call() { throw runtime_error("an empty function was called"); }
void __throw_out_of_range_fmt(const char* text, ...) { throw runtime_error(text); }

template class basic_string<char>;
template class basic_string<wchar_t>;

} // namespace std

// Where an exception leaves a function that must not let one out.
extern "C" void __std_terminate() { std::terminate(); }
