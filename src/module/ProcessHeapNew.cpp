// The module's memory comes from the process heap, so that a host can free a packet that the module
// allocated.
#include <cstdlib>
#include <new>

#include <windows.h>

namespace {

// HeapAlloc aligns to 16 bytes on x64. Nothing here is over-aligned.
static_assert(__STDCPP_DEFAULT_NEW_ALIGNMENT__ <= 16);

void* Allocate(std::size_t size) noexcept { return HeapAlloc(GetProcessHeap(), 0, size); }

void* AllocateOrThrow(std::size_t size) {
    for (;;) {
        if (void* memory = Allocate(size)) {
            return memory;
        }
        const std::new_handler handler = std::get_new_handler();
        if (!handler) {
            throw std::bad_alloc();
        }
        handler();
    }
}

void Free(void* memory) noexcept {
    if (memory) {
        HeapFree(GetProcessHeap(), 0, memory);
    }
}

} // namespace

void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { Free(memory); }
void operator delete[](void* memory) noexcept { Free(memory); }
void operator delete(void* memory, std::size_t) noexcept { Free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { Free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { Free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { Free(memory); }
