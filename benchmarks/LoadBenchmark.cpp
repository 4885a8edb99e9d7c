// From the bytes of a configuration file to typed variables: the module beside JSON libraries that are made
// to reach the same end result, four maps of dotted wide names, with a whole number as integer and as double.
#include "Documents.h"
#include "PeerLoad.h"
#include "Rounds.h"

#include "base/Arena.h"
#include "base/HostLog.h"
#include "config/ConfigText.h"
#include "variables/VariableBatch.h"
#include "variables/VariableMaps.h"

#include <nlohmann/json.hpp>
#include <rapidjson/document.h>

#include <simdjson.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace zq::bench {
namespace {

size_t LoadModule(ConfigFile file, const std::string& bytes) {
    ConfigText config(file);
    VariableMaps maps;
    if (!config.Read(bytes) || !config.Flatten(HostLog())) {
        throw std::runtime_error("the module refuses the benchmark's file");
    }
    maps.Apply(config.TakeBatch());
    return maps.bools.Size() + maps.Integers().Size() + maps.Doubles().Size() + maps.strings.Size();
}

template <class Encoding>
struct RapidNode {
    using Value = rapidjson::GenericValue<Encoding>;
    using TextView = std::basic_string_view<typename Encoding::Ch>;
    const Value& value;

    PeerKind Kind() const {
        switch (value.GetType()) {
        case rapidjson::kTrueType:
        case rapidjson::kFalseType:
            return PeerKind::Bool;
        case rapidjson::kNumberType:
            return value.IsInt64() ? PeerKind::Integer : PeerKind::Double;
        case rapidjson::kStringType:
            return PeerKind::String;
        case rapidjson::kArrayType:
            return PeerKind::Array;
        case rapidjson::kObjectType:
            return PeerKind::Object;
        default:
            return PeerKind::Null;
        }
    }
    bool Bool() const { return value.GetBool(); }
    int64_t Integer() const { return value.GetInt64(); }
    double Double() const { return value.GetDouble(); }
    TextView Text() const { return {value.GetString(), value.GetStringLength()}; }
    template <class Visit>
    void ForEachMember(Visit visit) const {
        for (const auto& member : value.GetObject()) {
            visit(TextView(member.name.GetString(), member.name.GetStringLength()), RapidNode{member.value});
        }
    }
    template <class Visit>
    void ForEachElement(Visit visit) const {
        for (const Value& element : value.GetArray()) {
            visit(RapidNode{element});
        }
    }
};

struct SimdNode {
    simdjson::dom::element value;

    PeerKind Kind() const {
        switch (value.type()) {
        case simdjson::dom::element_type::STRING:
            return PeerKind::String;
        case simdjson::dom::element_type::BOOL:
            return PeerKind::Bool;
        case simdjson::dom::element_type::INT64:
            return PeerKind::Integer;
        case simdjson::dom::element_type::DOUBLE:
            return PeerKind::Double;
        case simdjson::dom::element_type::OBJECT:
            return PeerKind::Object;
        case simdjson::dom::element_type::ARRAY:
            return PeerKind::Array;
        default:
            return PeerKind::Null;
        }
    }
    bool Bool() const { return bool(value); }
    int64_t Integer() const { return int64_t(value); }
    double Double() const { return double(value); }
    std::string_view Text() const { return std::string_view(value); }
    template <class Visit>
    void ForEachMember(Visit visit) const {
        for (const auto member : simdjson::dom::object(value)) {
            visit(member.key, SimdNode{member.value});
        }
    }
    template <class Visit>
    void ForEachElement(Visit visit) const {
        for (const simdjson::dom::element element : simdjson::dom::array(value)) {
            visit(SimdNode{element});
        }
    }
};

struct NlohmannNode {
    const nlohmann::json& value;

    PeerKind Kind() const {
        switch (value.type()) {
        case nlohmann::json::value_t::string:
            return PeerKind::String;
        case nlohmann::json::value_t::boolean:
            return PeerKind::Bool;
        case nlohmann::json::value_t::number_integer:
        case nlohmann::json::value_t::number_unsigned:
            return PeerKind::Integer;
        case nlohmann::json::value_t::number_float:
            return PeerKind::Double;
        case nlohmann::json::value_t::object:
            return PeerKind::Object;
        case nlohmann::json::value_t::array:
            return PeerKind::Array;
        default:
            return PeerKind::Null;
        }
    }
    bool Bool() const { return value.get<bool>(); }
    int64_t Integer() const { return value.get<int64_t>(); }
    double Double() const { return value.get<double>(); }
    std::string_view Text() const { return value.get_ref<const std::string&>(); }
    template <class Visit>
    void ForEachMember(Visit visit) const {
        for (const auto& [key, member] : value.items()) {
            visit(std::string_view(key), NlohmannNode{member});
        }
    }
    template <class Visit>
    void ForEachElement(Visit visit) const {
        for (const nlohmann::json& element : value) {
            visit(NlohmannNode{element});
        }
    }
};

template <template <class> class Map, class Node>
size_t Flatten(ConfigFile file, const Node& root) {
    PeerMaps<Map> maps;
    PeerFlattener<Map>(maps).Flatten(file, root);
    return maps.Size();
}

template <template <class> class Map, class Encoding>
size_t LoadRapid(ConfigFile file, const std::string& bytes) {
    rapidjson::GenericDocument<Encoding> document;
    document.template Parse<rapidjson::kParseFullPrecisionFlag, rapidjson::UTF8<>>(bytes.data(),
                                                                                   bytes.size());
    return Flatten<Map>(file, RapidNode<Encoding>{document});
}

template <template <class> class Map>
size_t LoadSimd(ConfigFile file, const std::string& bytes, simdjson::dom::parser& parser) {
    return Flatten<Map>(file, SimdNode{parser.parse(bytes)});
}

template <template <class> class Map>
size_t LoadSimdNew(ConfigFile file, const std::string& bytes) {
    simdjson::dom::parser parser;
    return LoadSimd<Map>(file, bytes, parser);
}

size_t LoadNlohmann(ConfigFile file, const std::string& bytes) {
    const nlohmann::json document = nlohmann::json::parse(bytes);
    return Flatten<StandardMap>(file, NlohmannNode{document});
}

// The two halves of a load by the module: neither can be faster than the other leaves it.
class ModuleParts {
public:
    ModuleParts(ConfigFile file, const std::string& bytes) : m_file(file), m_bytes(bytes), m_config(file) {
        m_config.Read(bytes);
        m_config.Flatten(HostLog());
    }

    void ReadAlone() const {
        ConfigText config(m_file);
        config.Read(m_bytes);
        config.Flatten(HostLog());
        Use(config.Batch().Entries().size());
    }
    void FillMapsAlone() const {
        VariableMaps maps;
        maps.Apply(m_config.Batch());
        Use(maps.strings.Size());
    }
    size_t Assignments() const { return m_config.Batch().Entries().size(); }

private:
    ConfigFile m_file;
    const std::string& m_bytes;
    ConfigText m_config;
};

// The memory that a load goes through whatever its code does. The bytes are read. What they assign is written
// aside and read again, since a file counts only once its end is seen. Each variable then gets a node and a
// bucket. Nothing is parsed, hashed or compared.
class MemoryTraffic {
public:
    MemoryTraffic(const std::string& bytes, size_t assignments)
        : m_bytes(bytes), m_assignments(assignments) {}

    void Run() const {
        uint64_t sum = SumOfBytes();
        Arena aside(Arena::Life::Short);
        std::vector<std::byte*> pages;
        for (size_t written = 0; written < m_assignments; written += kRecordsOfPage) {
            pages.push_back(aside.Allocate<std::byte>(kPage));
            std::memset(pages.back(), static_cast<int>(sum), kPage);
        }
        Arena nodes;
        std::vector<uint64_t*> buckets(std::bit_ceil(m_assignments));
        Arena::Release release(aside);
        size_t number = 0;
        for (const std::byte* page : pages) {
            for (size_t record = 0; record < kPage && number < m_assignments; record += kRecord, ++number) {
                sum += WordAt(page + record);
                auto* node = nodes.Allocate<uint64_t>(kNodeWords);
                std::fill_n(node, kNodeWords, sum);
                buckets[number * 0x9E3779B97F4A7C15U >> 20U & (buckets.size() - 1)] = node;
            }
            release.GiveBack(page, kPage);
        }
        Use(sum);
    }

private:
    // As those of generated settings are on average.
    static constexpr size_t kRecord = 56;
    static constexpr size_t kNodeWords = 8;
    static constexpr size_t kRecordsOfPage = 72;
    static constexpr size_t kPage = kRecordsOfPage * kRecord;

    static uint64_t WordAt(const void* memory) {
        uint64_t word = 0;
        std::memcpy(&word, memory, sizeof(word));
        return word;
    }
    uint64_t SumOfBytes() const {
        uint64_t sum = 0;
        for (size_t i = 0; i + sizeof(uint64_t) <= m_bytes.size(); i += sizeof(uint64_t)) {
            sum += WordAt(m_bytes.data() + i);
        }
        return sum;
    }

    const std::string& m_bytes;
    size_t m_assignments;
};

struct Document {
    std::string name;
    ConfigFile file;
    std::string bytes;
};

double Compare(const char* group, const Document& document, int runs) {
    const ConfigFile file = document.file;
    const std::string& bytes = document.bytes;
    using Utf8 = rapidjson::UTF8<>;
    using Utf16 = rapidjson::UTF16<>;
    const size_t variables = LoadRapid<StandardMap, Utf8>(file, bytes);
    // The module also sets the header names and their count.
    if (variables > LoadModule(file, bytes) || variables != LoadNlohmann(file, bytes) ||
        variables != LoadSimdNew<FlatMap>(file, bytes) ||
        variables != LoadRapid<FlatMap, Utf16>(file, bytes)) {
        throw std::runtime_error("the competitors disagree about " + document.name);
    }
    simdjson::dom::parser kept;
    const ModuleParts parts(file, bytes);
    const MemoryTraffic memory(bytes, parts.Assignments());
    std::vector<Competitor> all = {
        {"module", [&] { Use(LoadModule(file, bytes)); }},
        {"RapidJSON UTF-8, std", [&] { Use(LoadRapid<StandardMap, Utf8>(file, bytes)); }},
        {"RapidJSON UTF-8, flat", [&] { Use(LoadRapid<FlatMap, Utf8>(file, bytes)); }},
        {"RapidJSON UTF-16, flat", [&] { Use(LoadRapid<FlatMap, Utf16>(file, bytes)); }},
        {"simdjson, std", [&] { Use(LoadSimdNew<StandardMap>(file, bytes)); }},
        {"simdjson, flat", [&] { Use(LoadSimdNew<FlatMap>(file, bytes)); }},
        {"simdjson kept, std", [&] { Use(LoadSimd<StandardMap>(file, bytes, kept)); }},
        {"simdjson kept, flat", [&] { Use(LoadSimd<FlatMap>(file, bytes, kept)); }},
        {"nlohmann, std", [&] { Use(LoadNlohmann(file, bytes)); }},
        {"floor: reading alone", [&] { parts.ReadAlone(); }},
        {"floor: filling the maps alone", [&] { parts.FillMapsAlone(); }},
        {"floor: a copy of the bytes", [&] { Use(std::string(bytes).size()); }},
    };
    RunRounds(all, runs);
    std::vector<Competitor> alone = {{"floor: its memory alone", [&] { memory.Run(); }}};
    RunRounds(alone, runs); // by itself: what it leaves in the heap would change the others' times
    all.push_back(alone.front());
    Record(group, static_cast<double>(bytes.size()), all, 1e-6);
    Print(document.name + ", " + std::to_string(bytes.size()) + " bytes, " +
              std::to_string(LoadModule(file, bytes)) + " variables",
          all, 1e-6, "us");
    return all.front().median / static_cast<double>(bytes.size());
}

std::string ReadShipped(ConfigFile file) {
    wchar_t program[MAX_PATH];
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const auto path = std::filesystem::path(program).parent_path() / L"defaults" / NameOfConfigFile(file);
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace
} // namespace zq::bench

int main() {
    using namespace zq::bench;
    using zq::ConfigFile;
    constexpr size_t kKilo = 1 << 10;
    constexpr size_t kMega = 1 << 20;
    Compare("load-shipped-settings",
            {"shipped settings", ConfigFile::Settings, ReadShipped(ConfigFile::Settings)}, 200);
    Compare("load-shipped-headsets",
            {"shipped headset list", ConfigFile::HmdList, ReadShipped(ConfigFile::HmdList)}, 200);
    Compare("load-shipped-presets",
            {"shipped quality presets", ConfigFile::Quality, ReadShipped(ConfigFile::Quality)}, 200);
    Compare("load-coordinates",
            {"coordinates", ConfigFile::Settings, MakeCoordinates(2 * kMega + 300 * kKilo)}, 1);
    Compare("load-feed", {"feed", ConfigFile::Settings, MakeFeed(600 * kKilo)}, 2);
    Compare("load-catalogue", {"catalogue", ConfigFile::Settings, MakeCatalogue(1700 * kKilo)}, 1);
    Compare("load", {"settings", ConfigFile::Settings, MakeSettings(kKilo)}, 500);
    Compare("load", {"settings", ConfigFile::Settings, MakeSettings(17 * kKilo)}, 50);
    Compare("load", {"settings", ConfigFile::Settings, MakeSettings(100 * kKilo)}, 5);
    const double one = Compare("load", {"settings", ConfigFile::Settings, MakeSettings(kMega)}, 1);
    const double ten = Compare("load", {"settings", ConfigFile::Settings, MakeSettings(10 * kMega)}, 1);
    Record("load-linear", 0, "cost of a byte at 10 MB to that at 1 MB", ten / one);
    std::printf("cost of a byte at 10 MB to that at 1 MB: %.2f\n", ten / one);
}
