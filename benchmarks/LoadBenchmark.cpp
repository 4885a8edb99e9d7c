// From the bytes of a settings file to typed variables: the module beside JSON libraries that are made to
// reach the same end result, four maps of dotted wide names, with a whole number as integer and as double.
#include "Rounds.h"

#include "base/HostLog.h"
#include "config/ConfigText.h"
#include "variables/VariableBatch.h"
#include "variables/VariableMaps.h"

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <nlohmann/json.hpp>
#include <rapidjson/document.h>

#include <simdjson.h>

#include <charconv>
#include <random>
#include <sstream>
#include <stdexcept>
#include <unordered_map>

namespace zq::bench {
namespace {

// A settings file of about `bytes` bytes in the shape of real ones: groups of scalars, and a header list.
std::string MakeSettings(size_t bytes) {
    static const char* const kNames[] = {"Bitrate",         "RefreshRate", "Sharpening", "Dashboard",
                                         "ResolutionScale", "Codec",       "Foveation",  "Latency",
                                         "Passthrough",     "ColorProfile"};
    std::mt19937_64 random(1);
    std::string text = "{";
    size_t count = 0;
    const auto addMembers = [&](const char* indent) {
        for (const char* name : kNames) {
            text.append(indent) += '"' + std::string(name) + std::to_string(count++ % 7) + "\": ";
            switch (random() % 5) {
            case 0:
            case 1:
                text += std::to_string(random() % 5000);
                break;
            case 2:
                text += std::to_string(static_cast<double>(random() % 10000) / 100).substr(0, 5) + "5";
                break;
            case 3:
                text += random() % 2 == 0 ? "true" : "false";
                break;
            default:
                text += "\"value " + std::to_string(random() % 100000) + " of a text\"";
            }
            text += ",\n";
        }
        text.resize(text.size() - 2);
    };
    for (size_t group = 0; text.size() < bytes / 2; ++group) {
        text += "\n  \"Group" + std::to_string(group) + "\": {\n";
        addMembers("    ");
        text += "\n  },";
    }
    text += "\n  \"CL\": [";
    for (size_t device = 0; device == 0 || text.size() < bytes - 400; ++device) {
        text += "\n    {\n      \"HD\": \"DEVICE" + std::to_string(device) + "\",\n";
        addMembers("      ");
        text += "\n    },";
    }
    text.pop_back();
    return text + "\n  ]\n}";
}

struct PeerMaps {
    std::unordered_map<std::wstring, uint8_t> bools;
    std::unordered_map<std::wstring, int64_t> integers;
    std::unordered_map<std::wstring, double> doubles;
    std::unordered_map<std::wstring, std::wstring> strings;

    size_t Size() const { return bools.size() + integers.size() + doubles.size() + strings.size(); }
    void SetNumber(const std::wstring& name, int64_t value) {
        integers[name] = value;
        doubles[name] = static_cast<double>(value);
    }
};

// The files are ASCII.
template <class Text>
std::wstring Wide(const Text& text) {
    return {text.begin(), text.end()};
}

template <class Text>
std::wstring Join(const std::wstring& prefix, const Text& key) {
    std::wstring name;
    name.reserve(prefix.size() + 1 + key.size());
    name = prefix;
    if (!prefix.empty()) {
        name += L'.';
    }
    name.append(key.begin(), key.end());
    return name;
}

template <class Value>
std::basic_string_view<typename Value::Ch> RapidText(const Value& value) {
    return {value.GetString(), value.GetStringLength()};
}

template <class Value>
void FlattenRapid(PeerMaps& maps, const std::wstring& prefix, const Value& object) {
    for (const auto& member : object.GetObject()) {
        const auto key = RapidText(member.name);
        const std::wstring name = Join(prefix, key);
        const Value& value = member.value;
        if (value.IsString()) {
            maps.strings[name] = Wide(RapidText(value));
        } else if (value.IsBool()) {
            maps.bools[name] = value.GetBool();
        } else if (value.IsInt64()) {
            maps.SetNumber(name, value.GetInt64());
        } else if (value.IsDouble()) {
            maps.doubles[name] = value.GetDouble();
        } else if (value.IsObject()) {
            FlattenRapid(maps, name, value);
        } else if (value.IsArray() && key.size() == 2) {
            for (const Value& header : value.GetArray()) {
                for (const auto& entry : header.GetObject()) {
                    if (RapidText(entry.name).size() == 2) {
                        FlattenRapid(maps, Join(name, RapidText(entry.value)), header);
                    }
                }
            }
        }
    }
}

size_t LoadRapidUtf8(const std::string& bytes) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseFullPrecisionFlag>(bytes.data(), bytes.size());
    PeerMaps maps;
    FlattenRapid(maps, {}, static_cast<const rapidjson::Value&>(document));
    return maps.Size();
}

size_t LoadRapidUtf16(const std::string& bytes) {
    using Encoding = rapidjson::UTF16<>;
    rapidjson::GenericDocument<Encoding> document;
    document.Parse<rapidjson::kParseFullPrecisionFlag, rapidjson::UTF8<>>(bytes.data(), bytes.size());
    PeerMaps maps;
    FlattenRapid(maps, {}, static_cast<const rapidjson::GenericValue<Encoding>&>(document));
    return maps.Size();
}

void FlattenSimd(PeerMaps& maps, const std::wstring& prefix, const simdjson::dom::object& object) {
    for (const auto member : object) {
        const std::wstring name = Join(prefix, member.key);
        const simdjson::dom::element value = member.value;
        switch (value.type()) {
        case simdjson::dom::element_type::STRING:
            maps.strings[name] = Wide(std::string_view(value));
            break;
        case simdjson::dom::element_type::BOOL:
            maps.bools[name] = bool(value);
            break;
        case simdjson::dom::element_type::INT64:
            maps.SetNumber(name, int64_t(value));
            break;
        case simdjson::dom::element_type::DOUBLE:
            maps.doubles[name] = double(value);
            break;
        case simdjson::dom::element_type::OBJECT:
            FlattenSimd(maps, name, value.get_object());
            break;
        case simdjson::dom::element_type::ARRAY:
            if (member.key.size() == 2) {
                for (const simdjson::dom::element header : value.get_array()) {
                    FlattenSimd(maps, Join(name, std::string_view(header["HD"])), header.get_object());
                }
            }
            break;
        default:
            break;
        }
    }
}

size_t LoadSimd(const std::string& bytes) {
    simdjson::dom::parser parser;
    PeerMaps maps;
    FlattenSimd(maps, {}, parser.parse(bytes).get_object());
    return maps.Size();
}

void FlattenNlohmann(PeerMaps& maps, const std::wstring& prefix, const nlohmann::json& object) {
    for (const auto& [key, value] : object.items()) {
        const std::wstring name = Join(prefix, key);
        if (value.is_string()) {
            maps.strings[name] = Wide(value.get_ref<const std::string&>());
        } else if (value.is_boolean()) {
            maps.bools[name] = value.get<bool>();
        } else if (value.is_number_integer()) {
            maps.SetNumber(name, value.get<int64_t>());
        } else if (value.is_number_float()) {
            maps.doubles[name] = value.get<double>();
        } else if (value.is_object()) {
            FlattenNlohmann(maps, name, value);
        } else if (value.is_array() && key.size() == 2) {
            for (const auto& header : value) {
                FlattenNlohmann(maps, Join(name, header.at("HD").get_ref<const std::string&>()), header);
            }
        }
    }
}

size_t LoadNlohmann(const std::string& bytes) {
    PeerMaps maps;
    FlattenNlohmann(maps, {}, nlohmann::json::parse(bytes));
    return maps.Size();
}

using Tree = boost::property_tree::ptree;

// A property tree keeps every scalar as text: its type has to be found again.
void AddPropertyText(PeerMaps& maps, const std::wstring& name, const std::string& text) {
    const char* end = text.data() + text.size();
    int64_t integer = 0;
    double real = 0;
    if (const auto done = std::from_chars(text.data(), end, integer);
        done.ec == std::errc() && done.ptr == end) {
        maps.SetNumber(name, integer);
    } else if (const auto parsed = std::from_chars(text.data(), end, real);
               parsed.ec == std::errc() && parsed.ptr == end) {
        maps.doubles[name] = real;
    } else if (text == "true" || text == "false") {
        maps.bools[name] = text == "true";
    } else {
        maps.strings[name] = Wide(text);
    }
}

void FlattenProperties(PeerMaps& maps, const std::wstring& prefix, const Tree& object) {
    for (const auto& [key, value] : object) {
        const std::wstring name = Join(prefix, key);
        if (value.empty()) {
            AddPropertyText(maps, name, value.data());
        } else if (key.size() != 2) {
            FlattenProperties(maps, name, value);
        } else {
            for (const auto& [ignored, header] : value) {
                FlattenProperties(maps, Join(name, header.get<std::string>("HD")), header);
            }
        }
    }
}

size_t LoadPropertyTree(const std::string& bytes) {
    std::istringstream in(bytes);
    Tree tree;
    boost::property_tree::read_json(in, tree);
    PeerMaps maps;
    FlattenProperties(maps, {}, tree);
    return maps.Size();
}

size_t LoadModule(const std::string& bytes) {
    ConfigText config(ConfigFile::Settings);
    VariableBatch batch;
    VariableMaps maps(1);
    if (!config.Read(bytes) || !config.Flatten(batch, HostLog())) {
        throw std::runtime_error("the module refuses the benchmark's file");
    }
    maps.Apply(batch);
    return maps.bools.Size() + maps.integers.Size() + maps.doubles.Size() + maps.strings.Size();
}

void PrintStages(const std::string& bytes, int runs) {
    ConfigText config(ConfigFile::Settings);
    config.Read(bytes);
    VariableBatch batch;
    config.Flatten(batch, HostLog());
    std::vector<Competitor> stages = {
        {"whole", [&] { Use(LoadModule(bytes)); }},
        {"decode and parse", [&] { Use(ConfigText(ConfigFile::Settings).Read(bytes)); }},
        {"flatten",
         [&] {
             VariableBatch other;
             config.Flatten(other, HostLog());
         }},
        {"write into empty maps",
         [&] {
             VariableMaps maps(1);
             maps.Apply(batch);
         }},
    };
    RunRounds(stages, runs);
    Print("  stages", stages, 1e-6, "us");
}

double Compare(const std::string& title, size_t size, int runs) {
    const std::string bytes = MakeSettings(size);
    // The module also sets the header names and their count.
    if (LoadRapidUtf8(bytes) != LoadNlohmann(bytes) || LoadModule(bytes) < LoadNlohmann(bytes) ||
        LoadRapidUtf16(bytes) != LoadPropertyTree(bytes) || LoadRapidUtf8(bytes) != LoadRapidUtf16(bytes) ||
        LoadSimd(bytes) != LoadRapidUtf8(bytes)) {
        throw std::runtime_error("the competitors disagree");
    }
    std::vector<Competitor> all = {
        {"module", [&] { Use(LoadModule(bytes)); }},
        {"RapidJSON UTF-8 DOM", [&] { Use(LoadRapidUtf8(bytes)); }},
        {"RapidJSON UTF-16 DOM", [&] { Use(LoadRapidUtf16(bytes)); }},
        {"simdjson DOM", [&] { Use(LoadSimd(bytes)); }},
        {"nlohmann", [&] { Use(LoadNlohmann(bytes)); }},
        {"Boost.PropertyTree", [&] { Use(LoadPropertyTree(bytes)); }},
        {"floor: a copy of the bytes", [&] { Use(std::string(bytes).size()); }},
    };
    RunRounds(all, runs);
    Record("load", static_cast<double>(bytes.size()), all, 1e-6);
    Print(title + ", " + std::to_string(bytes.size()) + " bytes, " + std::to_string(LoadModule(bytes)) +
              " variables",
          all, 1e-6, "us");
    PrintStages(bytes, runs);
    return all.front().median / static_cast<double>(bytes.size());
}

} // namespace
} // namespace zq::bench

int main() {
    using namespace zq::bench;
    Compare("1 KB", 1 << 10, 500);
    Compare("17 KB", 17 << 10, 50);
    Compare("100 KB", 100 << 10, 5);
    const double one = Compare("1 MB", 1 << 20, 1);
    const double ten = Compare("10 MB", 10 << 20, 1);
    Record("load-linear", 0, "cost of a byte at 10 MB to that at 1 MB", ten / one);
    std::printf("cost of a byte at 10 MB to that at 1 MB: %.2f\n", ten / one);
}
