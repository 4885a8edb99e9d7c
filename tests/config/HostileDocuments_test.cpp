// Documents that nobody would write and somebody might send: each gets an answer, in time that grows with its
// length alone.
#include "support/ConfigRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>

namespace zq::test {
namespace {

std::string Repeat(std::string_view piece, size_t count) {
    std::string text;
    text.reserve(piece.size() * count);
    for (size_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

std::string Nested(std::string_view open, size_t depth, std::string_view core, std::string_view close) {
    return Repeat(open, depth).append(core) + Repeat(close, depth);
}

// A document through decoder, reader, flattener and maps, without a look at what came out.
bool Load(ConfigFile file, const std::string& document) {
    ConfigText config(file);
    VariableMaps maps;
    if (!config.Read(document) || !config.Flatten(HostLog())) {
        return false;
    }
    maps.Apply(config.Batch());
    return true;
}

int32_t ParseResult(const std::string& document) {
    ConfigText config(ConfigFile::Settings);
    config.Read(document);
    return config.ParseResult();
}

using Maker = std::function<std::string(size_t)>;

double SecondsOf(ConfigFile file, const std::string& document, size_t loads) {
    const auto start = std::chrono::steady_clock::now();
    for (size_t i = 0; i < loads; ++i) {
        Load(file, document);
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// One load of 64 times the length takes about as long as 64 loads where work is linear, and 64 times as long
// where it is quadratic. Up to seven times as long was seen where it is linear: a machine may take long to
// give memory that a small document never asks for, and a large one is read twice where the order of its
// names demands it. So the limit stands far from both. The best of many attempts counts for each, as other
// programs may interrupt them.
void ExpectLinearTime(ConfigFile file, size_t size, const Maker& make) {
    constexpr size_t kTimes = 64;
    constexpr double kMostTimes = 24;
    constexpr int kAttempts = 20;
    const std::string small = make(size);
    const std::string large = make(kTimes * size);
    double bestLarge = 1e9;
    double bestSmall = 1e9;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        bestLarge = std::min(bestLarge, SecondsOf(file, large, 1));
        bestSmall = std::min(bestSmall, SecondsOf(file, small, kTimes));
        if (bestLarge < kMostTimes * bestSmall) {
            return;
        }
    }
    ADD_FAILURE() << kTimes << " times the length takes " << bestLarge / bestSmall << " times as long as "
                  << kTimes << " loads";
}

TEST(HostileDocuments, DeepBracketsAreAnAnswer) {
    constexpr size_t kDepth = 200000;
    EXPECT_EQ(static_cast<int32_t>(2 * kDepth), ParseResult(Nested("[", kDepth, "", "]")));
    EXPECT_EQ(-1, ParseResult(Repeat("[", kDepth)));
    EXPECT_EQ(-1, ParseResult(Repeat("[", kDepth) + "]"));
    EXPECT_EQ(-1, ParseResult(Nested("[", kDepth, "x", "]")));
    for (const ConfigFile file : {ConfigFile::Settings, ConfigFile::HmdList, ConfigFile::Quality}) {
        EXPECT_TRUE(Load(file, Nested("[", kDepth, "", "]")));
        EXPECT_FALSE(Load(file, Repeat("[", kDepth)));
    }
}

TEST(HostileDocuments, DeepObjectsAreAnAnswer) {
    constexpr size_t kDepth = 100000;
    std::wstring name = L"a";
    for (size_t i = 1; i < kDepth; ++i) {
        name += L".a";
    }
    EXPECT_EQ(TypedVariables().Int64(L"HmdNameSize", 0).Number(name, 1),
              RunConfig(ConfigFile::Settings, Nested("{\"a\":", kDepth, "1", "}")).variables);
    EXPECT_EQ(-1, ParseResult(Repeat("{\"a\":", kDepth)));
    EXPECT_TRUE(Load(ConfigFile::Quality, Nested("{\"a\":", kDepth, "1", "}")));
}

TEST(HostileDocuments, NestedHeaderListsAreAnAnswer) {
    const std::string document = Nested("{\"CL\":[{\"HD\":\"x\",\"y\":", 2000, "1", "}]}");
    EXPECT_TRUE(Load(ConfigFile::Settings, document));
    EXPECT_TRUE(Load(ConfigFile::Settings, Nested("{\"CL\":[", 100000, "", "]}")));
    ExpectLinearTime(ConfigFile::Settings, 2000,
                     [](size_t n) { return Nested("{\"CL\":[{\"HD\":\"\"},", n, "", "]}"); });
    ExpectLinearTime(ConfigFile::Settings, 2000, [](size_t n) {
        return "{\"CL\":[" + Nested("{\"HD\":\"x\",\"CL\":[", n, "", "]}") + "]}";
    });
}

TEST(HostileDocuments, NestedQualityArraysAreAnAnswer) {
    EXPECT_TRUE(Load(ConfigFile::Quality, Nested("{\"a\":[", 100000, "{\"b\":1}", "]}")));
    ExpectLinearTime(ConfigFile::Quality, 2000,
                     [](size_t n) { return Nested("{\"x\":1,\"a\":[", n, "", "]}"); });
}

// Every name repeats the key and the way to it: held whole they would take gigabytes.
TEST(HostileDocuments, MemoryOfNamesFollowsTheFile) {
    constexpr size_t kDepth = 4000;
    const std::string key(49000, 'k');
    const std::string document = "{\"" + key + "\":" + Nested("{\"a\":1,\"b\":", kDepth, "1", "}") + "}";
    ConfigText config(ConfigFile::Settings);
    VariableMaps maps;
    ASSERT_TRUE(config.Read(document));
    ASSERT_TRUE(config.Flatten(HostLog()));
    for (const VariableBatch::Entry& entry : config.Batch().Entries()) {
        ASSERT_GT(2 * kSharedPrefixUnits, VariableBatch::NameOf(entry).size());
    }

    maps.Apply(config.Batch());
    maps.Apply(config.Batch());

    EXPECT_EQ(kDepth + 2, maps.Integers().Size()); // with the number of headsets
    const std::wstring name = std::wstring(key.begin(), key.end()) + L".b.b.b.a";
    EXPECT_TRUE(maps.Integers().Find(name, HashName(name)).has_value());
}

TEST(HostileDocuments, LongStringIsAnAnswer) {
    const std::string text(2 << 20, 's');
    const ConfigRun run = RunConfig(ConfigFile::Settings, "{\"a\":\"" + text + "\"}");
    EXPECT_EQ(TypedVariables().Int64(L"HmdNameSize", 0).String(L"a", std::wstring(text.begin(), text.end())),
              run.variables);
    EXPECT_TRUE(Load(ConfigFile::Settings, "{\"" + text + "\":1}"));
    EXPECT_TRUE(Load(ConfigFile::Settings, "{\"a\":\"" + Repeat("\\u0041", 300000) + "\"}"));
    EXPECT_TRUE(Load(ConfigFile::Settings, "{\"a\":\"" + Repeat("\\\"", 1000000) + "\"}"));
    EXPECT_FALSE(Load(ConfigFile::Settings, "{\"a\":\"" + text + "}"));
}

std::string Members(size_t count, const std::function<size_t(size_t)>& keyOf) {
    std::string text = "{";
    for (size_t i = 0; i < count; ++i) {
        std::string key = std::to_string(keyOf(i));
        key.insert(0, 8 - std::min<size_t>(8, key.size()), '0');
        text += '"' + key + "\":1,";
    }
    return text + "}";
}

TEST(HostileDocuments, ManyMembersAreAnAnswerInAnyOrder) {
    constexpr size_t kCount = 60000;
    for (const auto& keyOf : std::initializer_list<std::function<size_t(size_t)>>{
             [](size_t i) { return i; }, [](size_t i) { return kCount - i; },
             [](size_t i) { return i * 7919 % kCount; }}) {
        EXPECT_EQ(2 * kCount + 1, RunConfig(ConfigFile::Settings, Members(kCount, keyOf)).variables.Size());
    }
    EXPECT_EQ(3U,
              RunConfig(ConfigFile::Settings, Members(kCount, [](size_t) { return 5; })).variables.Size());
}

TEST(HostileDocuments, LongNumberIsAnAnswer) {
    const std::string digits(1000000, '7');
    EXPECT_EQ(TypedVariables().Int64(L"HmdNameSize", 0).Number(L"a", INT64_MAX),
              RunConfig(ConfigFile::Settings, "{\"a\":" + digits + "}").variables);
    EXPECT_TRUE(Load(ConfigFile::Settings, "{\"a\":" + digits + ".5}"));
    EXPECT_TRUE(Load(ConfigFile::Settings, "{\"a\":1." + digits + "}"));
    EXPECT_FALSE(Load(ConfigFile::Settings, digits));
}

TEST(HostileDocuments, EveryByteAsAWholeFileIsAnAnswer) {
    for (int byte = 0; byte < 0x100; ++byte) {
        const std::string document(1, static_cast<char>(byte));
        for (const ConfigFile file : {ConfigFile::Settings, ConfigFile::HmdList, ConfigFile::Quality}) {
            // A lone quote is an unclosed string, which is accepted; the headset list wants an array.
            EXPECT_EQ(byte == '"' && file != ConfigFile::HmdList, Load(file, document)) << byte;
        }
    }
}

TEST(HostileDocuments, EveryPrefixOfAFileIsAnAnswer) {
    const std::string document =
        R"({"Settings":{"ServerName":"Room 1","Port":27015,"Scale":1.25,"Ok":true},)"
        R"("CL":[{"HD":"ALPHA1","Bitrate":40,"List":[1,2,3]},{"HD":"BETA\u0032","Bitrate":-30.5}],)"
        R"("Path":"C:\/data\\\"x\"","None":null,"BETA2":[{"Bitrate":70},{"Bitrate":50}]})";
    for (size_t length = 0; length <= document.size(); ++length) {
        for (const ConfigFile file : {ConfigFile::Settings, ConfigFile::HmdList, ConfigFile::Quality}) {
            EXPECT_EQ(length == document.size() && file != ConfigFile::HmdList,
                      Load(file, document.substr(0, length)))
                << length;
        }
    }
}

TEST(HostileDocuments, TimeGrowsOnlyWithTheLength) {
    const struct {
        const char* what;
        size_t size;
        Maker make;
    } kGrowing[] = {
        {"closed brackets", 2500, [](size_t n) { return Nested("[", n, "", "]"); }},
        {"open brackets", 6000, [](size_t n) { return Repeat("[", n); }},
        {"open brackets and one closing", 2500, [](size_t n) { return Repeat("[", n) + "]"; }},
        {"open braces with keys", 2500, [](size_t n) { return Repeat("{\"\":", n) + "}"; }},
        {"siblings", 2500, [](size_t n) { return "[" + Repeat("[],{},", n) + "]"; }},
        {"keys without a first quote", 2500, [](size_t n) { return "{" + Repeat("x\\n\":1,", n) + "}"; }},
        {"escaped strings", 2500, [](size_t n) { return "[" + Repeat("\"\\n\",", n) + "]"; }},
        {"unclosed string", 12500, [](size_t n) { return "[\"" + Repeat("\\n", n) + "]"; }},
        {"reversed keys", 1000, [](size_t n) { return Members(n, [n](size_t i) { return n - i; }); }},
        {"equal keys", 1000, [](size_t n) { return Members(n, [](size_t) { return 1; }); }},
        {"white space", 12500, [](size_t n) { return Repeat(" \n", n) + "{}"; }},
        {"digits with a point", 6000, [](size_t n) { return "[1." + Repeat("7", n) + "]"; }},
    };
    for (const auto& document : kGrowing) {
        SCOPED_TRACE(document.what);
        ExpectLinearTime(ConfigFile::Settings, document.size, document.make);
    }
}

} // namespace
} // namespace zq::test
