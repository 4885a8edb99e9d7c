#include "LoadMemory.h"

#include "CountedHeap.h"
#include "Documents.h"

#include "base/HostLog.h"
#include "config/ConfigLoader.h"

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

template <class NumberOf>
std::string Members(NumberOf numberOf) {
    return Repeat(
        "{", [&](size_t i) { return "\"k" + std::to_string(numberOf(i)) + "\":1,"; }, "}");
}

std::string Nested(size_t bytes) {
    std::string text;
    size_t depth = 0;
    for (; text.size() < bytes; ++depth) {
        text += "{\"a\":1,\"b\":";
    }
    return text + "1" + std::string(depth, '}');
}

void Load(const LoadShape& shape, VariableStore& store) {
    ConfigLook look;
    look.file.access = FileAccess::Read;
    look.file.bytes.assign(shape.bytes.begin(), shape.bytes.end());
    ParseLook(shape.file, look);
    const HostLog log;
    if (!LoadConfigFile(shape.file, L"", look, {store, log})) {
        throw std::runtime_error("the module refuses " + shape.name);
    }
}

} // namespace

std::vector<LoadShape> LoadShapes() {
    const auto settings = [](const char* name, std::string bytes) {
        return LoadShape{name, ConfigFile::Settings, std::move(bytes)};
    };
    const auto number = [](size_t) { return std::string("1,"); };
    return {
        settings("settings", MakeSettings(kBytes)),
        settings("members", Members([](size_t i) { return 100'000 + i; })),
        settings("members in reverse", Members([](size_t i) { return 999'999 - i; })),
        settings("arrays", Repeat("{\"a\":[", number, "]}")),
        settings("deep", Nested(kBytes)),
        settings("long texts", Repeat(
                                   "{",
                                   [](size_t i) {
                                       return "\"k" + std::to_string(i) + "\":\"" + std::string(20'000, 't') +
                                              "\",";
                                   },
                                   "}")),
        settings("a list of \"CL\"",
                 Repeat(
                     "{\"CL\":[", [](size_t i) { return "{\"HD\":\"" + std::to_string(i) + "\"},"; }, "]}")),
        settings("numbers in \"CL\"", Repeat("{\"CL\":[", number, "]}")),
    };
}

LoadShape LongKeyShape() {
    return {"one long key", ConfigFile::Settings,
            "{\"" + std::string(49'000, 'k') + "\":" + Nested(50'000) + "}"};
}

size_t BytesBeyondTheVariables(const LoadShape& shape, VariableStore& store) {
    TakePeakBytes();
    Load(shape, store);
    return TakePeakBytes() - LiveBytes();
}

} // namespace zq::bench
