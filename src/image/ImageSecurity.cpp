// What Windows and the stack protector need in an image: its load configuration, the guard value that the
// loader randomises for each process, and the function that is called when a guard was overwritten.
#include <cstddef>
#include <cstdint>

#include <windows.h>

extern "C" {

// The names are the compiler's and the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)

// The loader replaces only this value.
std::uintptr_t __stack_chk_guard = 0x00002B992DDFA232;

// Ends the process at once, without running code of a process whose stack is damaged. Windows reports the
// exception 0xC0000409 with the code of an overrun stack.
[[noreturn]] void __stack_chk_fail() {
    constexpr unsigned stackCookieCheckFailure = 2;
    asm volatile("int $0x29" : : "c"(stackCookieCheckFailure));
    __builtin_unreachable();
}

// IMAGE_LOAD_CONFIG_DIRECTORY64 up to the last field that this module sets; the header's own structure is
// older than DependentLoadFlags.
struct LoadConfig {
    std::uint32_t size{};
    std::uint32_t timeDateStamp{};
    std::uint16_t majorVersion{};
    std::uint16_t minorVersion{};
    std::uint32_t globalFlagsClear{};
    std::uint32_t globalFlagsSet{};
    std::uint32_t criticalSectionDefaultTimeout{};
    std::uint64_t deCommitFreeBlockThreshold{};
    std::uint64_t deCommitTotalFreeThreshold{};
    std::uint64_t lockPrefixTable{};
    std::uint64_t maximumAllocationSize{};
    std::uint64_t virtualMemoryThreshold{};
    std::uint64_t processAffinityMask{};
    std::uint32_t processHeapFlags{};
    std::uint16_t csdVersion{};
    std::uint16_t dependentLoadFlags{};
    std::uint64_t editList{};
    std::uintptr_t* securityCookie{};
    std::uint64_t seHandlerTable{};
    std::uint64_t seHandlerCount{};
    std::uint64_t guardCFCheckFunctionPointer{};
    std::uint64_t guardCFDispatchFunctionPointer{};
    std::uint64_t guardCFFunctionTable{};
    std::uint64_t guardCFFunctionCount{};
    std::uint32_t guardFlags{};
};
static_assert(offsetof(LoadConfig, dependentLoadFlags) == 78);
static_assert(offsetof(LoadConfig, securityCookie) == 88);
static_assert(offsetof(LoadConfig, guardFlags) == 144);

// The linker finds this by its name. Windows loads the libraries that the image imports only from the
// system's folder.
extern const LoadConfig _load_config_used = {
    .size = offsetof(LoadConfig, guardFlags) + sizeof(LoadConfig::guardFlags), // without the padding
    .dependentLoadFlags = LOAD_LIBRARY_SEARCH_SYSTEM32,
    .securityCookie = &__stack_chk_guard,
};

// NOLINTEND(bugprone-reserved-identifier)

} // extern "C"
