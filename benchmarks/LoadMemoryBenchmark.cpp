// How much memory a load takes beyond that of the variables that stay: its peak less what is live afterwards,
// the bytes of the file included.
#include "CountedHeap.h"
#include "Documents.h"
#include "Rounds.h"

#include "base/HostLog.h"
#include "config/ConfigText.h"
#include "variables/VariableBatch.h"
#include "variables/VariableMaps.h"

#include <stdexcept>

namespace zq::bench {
namespace {

constexpr size_t kBytes = size_t{1} << 20;

template <class Make>
std::string Repeat(const char* open, Make make, const char* close) {
    std::string text = open;
    for (size_t i = 0; text.size() < kBytes; ++i) {
        text += make(i);
    }
    text.back() = ' '; // the last comma
    return text + close;
}

std::string Deep() {
    std::string text;
    size_t depth = 0;
    for (; text.size() < kBytes; ++depth) {
        text += "{\"a\":1,\"b\":";
    }
    return text + "1" + std::string(depth, '}');
}

void Load(ConfigFile file, const std::string& bytes, VariableMaps& maps) {
    const std::string copy = bytes; // as the loader has read it
    ConfigText config(file);
    VariableBatch batch(VariableBatch::Names::SharePrefixes);
    if (!config.Read(copy) || !config.Flatten(batch, HostLog())) {
        throw std::runtime_error("the module refuses the benchmark's file");
    }
    maps.Apply(batch);
}

void Measure(const char* what, ConfigFile file, const std::string& bytes) {
    VariableMaps maps(1);
    for (const int round : {1, 2}) {
        TakePeakBytes();
        Load(file, bytes, maps);
        const size_t peak = TakePeakBytes();
        const size_t stays = LiveBytes();
        const double times = static_cast<double>(peak - stays) / static_cast<double>(bytes.size());
        std::printf("%-20s %-16s %5.1f times the file, %6.1f MB stay\n", what,
                    round == 1 ? "first load" : "the same again", times,
                    static_cast<double>(stays) / (1 << 20));
        Record("load-memory", round, what, times);
    }
}

} // namespace
} // namespace zq::bench

int main() {
    using namespace zq::bench;
    using zq::ConfigFile;
    Measure("settings", ConfigFile::Settings, MakeSettings(kBytes));
    Measure("members", ConfigFile::Settings,
            Repeat(
                "{", [](size_t i) { return "\"k" + std::to_string(100'000 + i) + "\":1,"; }, "}"));
    Measure("arrays", ConfigFile::Settings,
            Repeat(
                "{\"a\":[", [](size_t) { return std::string("1,"); }, "]}"));
    Measure("deep", ConfigFile::Settings, Deep());
    Measure(
        "long texts", ConfigFile::Settings,
        Repeat(
            "{",
            [](size_t i) { return "\"k" + std::to_string(i) + "\":\"" + std::string(20'000, 't') + "\","; },
            "}"));
    Measure("a list of \"CL\"", ConfigFile::Settings,
            Repeat(
                "{\"CL\":[", [](size_t i) { return "{\"HD\":\"" + std::to_string(i) + "\"},"; }, "]}"));
    Measure("numbers in \"CL\"", ConfigFile::Settings,
            Repeat(
                "{\"CL\":[", [](size_t) { return std::string("1,"); }, "]}"));
    const std::string longKey = "{\"" + std::string(49'000, 'k') + "\":";
    std::string nested;
    size_t depth = 0;
    for (; nested.size() < 50'000; ++depth) {
        nested += "{\"a\":1,\"b\":";
    }
    Measure("one long key", ConfigFile::Settings, longKey + nested + "1" + std::string(depth + 1, '}'));
}
