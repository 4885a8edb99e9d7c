// How much memory a load takes beyond that of the variables that stay, a first one and one of the same file
// again.
#include "CountedHeap.h"
#include "LoadMemory.h"
#include "Rounds.h"

#include "platform/Mutex.h"
#include "variables/VariableStore.h"

namespace zq::bench {
namespace {

void Measure(const LoadShape& shape) {
    const Mutex mutex;
    VariableStore store(mutex);
    const size_t before = LiveBytes();
    for (const int round : {1, 2}) {
        const size_t bytes = BytesBeyondTheVariables(shape, store);
        const double times = static_cast<double>(bytes) / static_cast<double>(shape.bytes.size());
        std::printf("%-20s %-16s %5.1f times the file, %6.1f MB stay\n", shape.name.c_str(),
                    round == 1 ? "first load" : "the same again", times,
                    static_cast<double>(LiveBytes() - before) / (1 << 20));
        Record("load-memory", round, shape.name, times);
    }
}

} // namespace
} // namespace zq::bench

int main() {
    for (const zq::bench::LoadShape& shape : zq::bench::LoadShapes()) {
        zq::bench::Measure(shape);
    }
    zq::bench::Measure(zq::bench::LongKeyShape());
}
