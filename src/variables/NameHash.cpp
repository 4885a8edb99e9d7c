#include "variables/NameHash.h"

#include <chrono>
#include <memory>

namespace zq {

namespace {

// Differs between processes: the clocks, and an address of the heap.
uint64_t MakeSeed() {
    const auto ticks = [](auto time) { return static_cast<uint64_t>(time.time_since_epoch().count()); };
    const auto block = std::make_unique<char>();
    return detail::MixMultiply(ticks(std::chrono::steady_clock::now()) ^ 0x9E3779B97F4A7C15ULL,
                               ticks(std::chrono::system_clock::now())) ^
           detail::MixMultiply(reinterpret_cast<uintptr_t>(block.get()), 0xD6E8FEB86659FD93ULL);
}

// The finaliser of the SplitMix generator: spreads a seed over all bits.
uint64_t Spread(uint64_t value) {
    value = (value ^ value >> 30U) * 0xBF58476D1CE4E5B9ULL;
    value = (value ^ value >> 27U) * 0x94D049BB133111EBULL;
    return value ^ value >> 31U;
}

} // namespace

NameKeys::NameKeys(uint64_t seed)
    : first(Spread(seed + 0x9E3779B97F4A7C15ULL)), second(Spread(seed + 0x3C6EF372FE94F82AULL)) {}

const NameKeys kNameKeys(MakeSeed());

} // namespace zq
