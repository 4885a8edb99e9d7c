# zq_language: the language and its warnings, in every preset.
add_library(zq_language INTERFACE)
target_compile_features(zq_language INTERFACE cxx_std_20)
target_compile_options(zq_language INTERFACE -Wall -Wextra -Wconversion -Wshadow -Werror)

# rapidjson's iterators compare in a way that clang finds ambiguous in C++20, wherever they are used.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(zq_language INTERFACE -Wno-ambiguous-reversed-operator)
endif()

if(WIN32)
  target_compile_definitions(zq_language INTERFACE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00)
  target_link_options(
    zq_language
    INTERFACE
    -static
    -Wl,--dynamicbase
    -Wl,--high-entropy-va
    -Wl,--nxcompat)
endif()

# What every target of this project is compiled with, the checks of the preset among it.
add_library(zq_options INTERFACE)
target_link_libraries(zq_options INTERFACE zq_language)

# Checked builds carry line tables only, enough for a report: full debug information doubles the time of a link.
option(ZQ_HARDENED "UBSan in trap mode, library assertions and the stack protector" OFF)
option(ZQ_SANITIZE "ASan and UBSan; native builds only" OFF)
option(ZQ_THREADS "ThreadSanitizer; native builds only" OFF)
if(ZQ_SANITIZE OR ZQ_THREADS)
  target_compile_options(zq_options INTERFACE -g1)
endif()

# zq_hardened: the checks of the preset debug, which test programs for Windows have in every preset.
add_library(zq_hardened INTERFACE)
target_compile_definitions(zq_hardened INTERFACE _GLIBCXX_ASSERTIONS)
target_compile_options(zq_hardened INTERFACE -g1 -fsanitize=undefined -fsanitize-undefined-trap-on-error
                                             -fstack-protector-strong)
target_link_options(zq_hardened INTERFACE -fstack-protector-strong)
if(ZQ_HARDENED)
  target_link_libraries(zq_options INTERFACE zq_hardened)
endif()

if(ZQ_SANITIZE)
  target_compile_definitions(zq_options INTERFACE _GLIBCXX_ASSERTIONS)
  target_compile_options(zq_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                                              -fno-omit-frame-pointer)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(zq_options
                           INTERFACE -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/sanitizer-ignorelist.txt)
  endif()
  target_link_options(zq_options INTERFACE -fsanitize=address,undefined)
endif()

option(ZQ_FUZZ "The fuzz targets; native builds with clang only" OFF)

if(ZQ_THREADS)
  target_compile_options(zq_options INTERFACE -fsanitize=thread -fno-omit-frame-pointer
                                              $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
  target_link_options(zq_options INTERFACE -fsanitize=thread)
endif()

option(ZQ_COVERAGE "Line and branch counters in src/" OFF)

# What code with a precompiled header is compiled with. GCC 12 takes a literal in front of a temporary std::string for an
# overlapping copy (its bug 105651), and reports short literals at the C library's wmemcpy, which it no longer knows for a
# system header's after precompiling it.
add_library(zq_precompiled INTERFACE)
target_compile_options(
  zq_precompiled
  INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict$<SEMICOLON>-Wno-array-bounds$<SEMICOLON>-Wno-stringop-overread$<SEMICOLON>-Wno-stringop-overflow>)
