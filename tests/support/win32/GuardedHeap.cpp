#include "support/win32/GuardedHeap.h"

#include "support/win32/Module.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <utility>

namespace zq::test {

namespace {

constexpr size_t kPage = 4096;
constexpr size_t kAlignment = 16; // the heap's own
constexpr unsigned char kSlack = 0xA5;
constexpr uint64_t kMagic = 0x5A51475541524421ULL;

// At the beginning of a block's first page. Reservations lie on multiples of 64 KB, but nothing else tells a
// block from one of the process heap.
struct Header {
    uint64_t magic;
    void* block;
    size_t size;
};

// Of the newest freed blocks the addresses stay reserved. Not of all: the system beneath Wine has a limit on
// how many pieces a process's memory may have.
constexpr size_t kKept = 8192;

std::atomic<long> g_blocks{0};
std::atomic<long> g_overruns{0};
std::array<void*, kKept> g_freed{}; // under the heap's lock, as is g_next
size_t g_next = 0;
decltype(&HeapAlloc) g_allocate;
decltype(&HeapFree) g_free;

// The heap's own lock: a thread of the module that has to be terminated does not hold it while it dies.
class HeapGuard {
public:
    HeapGuard() { HeapLock(GetProcessHeap()); }
    ~HeapGuard() { HeapUnlock(GetProcessHeap()); }
    HeapGuard(const HeapGuard&) = delete;
    HeapGuard& operator=(const HeapGuard&) = delete;
};

size_t RoundUp(size_t size, size_t unit) { return (size + unit - 1) / unit * unit; }

void* WINAPI Allocate(HANDLE heap, DWORD flags, SIZE_T size) {
    const HeapGuard guard;
    const size_t room = RoundUp(std::max<size_t>(size, 1), kAlignment);
    const size_t pages = RoundUp(sizeof(Header) + room, kPage);
    auto* base =
        static_cast<unsigned char*>(VirtualAlloc(nullptr, pages + kPage, MEM_RESERVE, PAGE_NOACCESS));
    if (!base || !VirtualAlloc(base, pages, MEM_COMMIT, PAGE_READWRITE)) {
        return g_allocate(heap, flags, size);
    }
    unsigned char* block = base + pages - room;
    std::memset(block, (flags & HEAP_ZERO_MEMORY) != 0 ? 0 : kSlack, size);
    std::memset(block + size, kSlack, room - size);
    *reinterpret_cast<Header*>(base) = {kMagic, block, size};
    ++g_blocks;
    return block;
}

// The header of a block of this heap; null for one of the process heap.
Header* HeaderOf(void* block) {
    MEMORY_BASIC_INFORMATION memory{};
    if (!VirtualQuery(block, &memory, sizeof(memory))) {
        return nullptr;
    }
    auto* header = static_cast<Header*>(memory.AllocationBase);
    return header->magic == kMagic && header->block == block ? header : nullptr;
}

BOOL WINAPI Free(HANDLE heap, DWORD flags, void* block) {
    const HeapGuard guard;
    Header* header = HeaderOf(block);
    if (!header) {
        return g_free(heap, flags, block);
    }
    const auto* end = static_cast<unsigned char*>(block) + header->size;
    const size_t slack = RoundUp(std::max<size_t>(header->size, 1), kAlignment) - header->size;
    g_overruns += std::any_of(end, end + slack, [](unsigned char byte) { return byte != kSlack; });
    VirtualFree(header, RoundUp(sizeof(Header) + header->size + slack, kPage), MEM_DECOMMIT);
    if (void* old = std::exchange(g_freed[g_next++ % kKept], header)) {
        VirtualFree(old, 0, MEM_RELEASE);
    }
    return TRUE;
}

} // namespace

GuardedHeap::GuardedHeap()
    : m_allocate(LoadModuleDll(), "kernel32.dll", "HeapAlloc", AsProc(Allocate)),
      m_freeInDll(LoadModuleDll(), "kernel32.dll", "HeapFree", AsProc(Free)),
      m_freeInProgram(nullptr, "kernel32.dll", "HeapFree", AsProc(Free)) {
    g_allocate = reinterpret_cast<decltype(g_allocate)>(reinterpret_cast<void*>(m_allocate.Original()));
    g_free = reinterpret_cast<decltype(g_free)>(reinterpret_cast<void*>(m_freeInDll.Original()));
}

GuardedHeap::~GuardedHeap() = default;

long GuardedHeap::Blocks() const { return g_blocks; }
long GuardedHeap::Overruns() const { return g_overruns; }

} // namespace zq::test
