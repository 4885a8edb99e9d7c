// The header of typed keys against what the module really sets from the default files.
#include "comfort/OpenModule.h"

#include "ZQSettingsKeys.hpp"

#include <algorithm>
#include <fstream>
#include <map>
#include <regex>

namespace zq::test {
namespace {

struct Listed {
    std::string type;
    std::wstring name;

    friend bool operator<(const Listed& left, const Listed& right) {
        return std::tie(left.type, left.name) < std::tie(right.type, right.name);
    }
};

// The keys as the header spells them: there is no other list of them to compare with.
std::vector<Listed> ListedKeys() {
    std::ifstream header(ProgramFolder().parent_path() / L"include" / L"ZQSettingsKeys.hpp");
    const std::regex key(R"re(inline constexpr Key<([a-z0-9_:]+)> \w+\{L"(.*)"\};)re");
    std::vector<Listed> keys;
    for (std::string line; std::getline(header, line);) {
        std::smatch match;
        if (std::regex_search(line, match, key)) {
            const std::string name = match[2];
            keys.push_back({match[1], std::wstring(name.begin(), name.end())});
        }
    }
    return keys;
}

class Keys : public testing::Test {
protected:
    bool Has(const Listed& key) const {
        if (key.type == "bool") {
            return module.get<bool>(key.name).has_value();
        }
        if (key.type == "int64_t") {
            return module.get<int64_t>(key.name).has_value();
        }
        if (key.type == "double") {
            return module.get<double>(key.name).has_value();
        }
        return strings.count(key.name) != 0;
    }

    ModuleFolders folders;
    Options options = [this] {
        Options made = OptionsFor(folders);
        made.defaultDir.clear(); // those that are shipped
        return made;
    }();
    Module module{options};
    std::map<std::wstring, std::wstring> strings = [this] {
        std::map<std::wstring, std::wstring> made;
        for (const PacketVariable& variable : module.pack()) {
            if (variable.type == VariableTypeString) {
                made[variable.name] = *variable.as<std::wstring>();
            }
        }
        return made;
    }();
};

TEST_F(Keys, EachNamesAVariableOfItsType) {
    const std::vector<Listed> keys = ListedKeys();
    EXPECT_GT(keys.size(), 500u);
    for (const Listed& key : keys) {
        // Known only where a client is installed, and where the system has network adapters.
        if (key.name != L"LocalClientAPKVersion" && key.name.find(L"Server ") != 0) {
            EXPECT_TRUE(Has(key)) << Printable({0, key.name}) << " as " << key.type;
        }
    }
}

TEST_F(Keys, NameEveryVariableThatTheModuleSets) {
    std::vector<Listed> keys = ListedKeys();
    std::sort(keys.begin(), keys.end());
    const auto isListed = [&](const char* type, const std::wstring& name) {
        return std::binary_search(keys.begin(), keys.end(), Listed{type, name});
    };
    size_t seen = 0;
    for (const PacketVariable& variable : module.pack()) {
        // A whole number of a file is an integer and a double: one of the two has the key.
        const bool isNumber = variable.type == VariableTypeInt64 || variable.type == VariableTypeDouble;
        const bool isNamed =
            isNumber ? isListed("int64_t", variable.name) || isListed("double", variable.name)
                     : isListed(variable.type == VariableTypeBool ? "bool" : "std::wstring", variable.name);
        EXPECT_TRUE(isNamed) << Printable({static_cast<int>(variable.type), variable.name});
        ++seen;
    }
    EXPECT_GT(seen, 800u);
}

TEST_F(Keys, ReadByTheirNameInCpp) {
    EXPECT_EQ(70, module.get(keys::Settings::CurrentBitrate));
    EXPECT_EQ(true, module.get(keys::Settings::EnableDashboard));
    EXPECT_EQ(0.15, module.get(keys::Tracking::SmoothingFactor));
    EXPECT_EQ(L"MERIN5", module.get(keys::DefaultDeviceName));
    EXPECT_EQ(L"HEVC", module.get(keys::CL::MERIN5::n3::n2::n0));
    EXPECT_EQ(76, module.get(keys::CL::MERIN5::n3::n0::n0::n3));
    EXPECT_EQ(L"MERIN5PRO", module.get(keys::HmdNameList::n1));
    EXPECT_EQ(1.1, module.get(keys::CL::MERIN5::Quality::RenderScale));
    const Cached<bool> dashboard(module, keys::Settings::EnableDashboard);
    EXPECT_TRUE(dashboard);
}

} // namespace
} // namespace zq::test
