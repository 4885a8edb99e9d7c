#include "VariableOrigin.h"

#include "FileArguments.h"

#include "check/FileCheck.h"
#include "config/ConfigFile.h"

#include <algorithm>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

using Kind = VariableBatch::Kind;

VariableValue ValueOf(const VariableBatch::Entry& entry) {
    switch (entry.kind) {
    case Kind::Bool:
        return static_cast<ZQBool>(entry.boolean);
    case Kind::Double:
        return entry.real;
    case Kind::String:
        return std::wstring(VariableBatch::TextOf(entry));
    default:
        return entry.integer;
    }
}

// Two entries of one name get in each other's way when they are of one type.
bool WritesOver(const VariableOrigin& later, const VariableOrigin& earlier) {
    const auto isDouble = [](const VariableOrigin& origin) {
        return origin.isNumber || std::holds_alternative<double>(origin.value);
    };
    return later.value.index() == earlier.value.index() || (isDouble(later) && isDouble(earlier));
}

class OriginFinder {
public:
    explicit OriginFinder(const std::wstring& name) : m_name(name) {}

    void Visit(const fs::path& path, const FileCheck& check) {
        for (const PlacedVariable& variable : check.Variables()) {
            if (VariableBatch::NameOf(*variable.entry) == m_name) {
                AddDuplicates(path, check, variable);
                Add(path, check, variable, variable.node, OriginFate::Counts);
            }
        }
    }

    std::vector<VariableOrigin> Take() {
        for (size_t i = 0; i < m_origins.size(); ++i) {
            const bool isLost =
                std::any_of(m_origins.begin() + static_cast<std::ptrdiff_t>(i) + 1, m_origins.end(),
                            [&](const VariableOrigin& later) {
                                return later.fate == OriginFate::Counts && WritesOver(later, m_origins[i]);
                            });
            if (isLost && m_origins[i].fate == OriginFate::Counts) {
                m_origins[i].fate = OriginFate::WrittenOver;
            }
        }
        return std::move(m_origins);
    }

private:
    // The members whose key the winner repeats never became variables.
    void AddDuplicates(const fs::path& path, const FileCheck& check, const PlacedVariable& variable) {
        const DocumentNode* const winner = variable.node;
        if (!winner || !winner->HasKey()) {
            return;
        }
        const auto& nodes = check.Document().Nodes();
        for (const int32_t child : nodes[static_cast<size_t>(winner->parent)].children) {
            const DocumentNode& node = nodes[static_cast<size_t>(child)];
            if (&node != winner && node.key == winner->key) {
                Add(path, check, variable, &node, OriginFate::KeyTwice);
                m_origins.back().value = std::wstring(PieceOf(check.Source(), node));
            }
        }
    }

    static std::wstring_view PieceOf(const SourceText& source, const DocumentNode& node) {
        return std::wstring_view(source.Text())
            .substr(static_cast<size_t>(node.begin), static_cast<size_t>(node.end - node.begin));
    }

    void Add(const fs::path& path, const FileCheck& check, const PlacedVariable& variable,
             const DocumentNode* node, OriginFate fate) {
        const TextPosition place = node ? check.Source().PositionOf(node->Place()) : TextPosition{0, 0};
        m_origins.push_back({path, place.line, place.column, ValueOf(*variable.entry),
                             variable.entry->kind == Kind::Number, fate});
    }

    const std::wstring& m_name;
    std::vector<VariableOrigin> m_origins;
};

} // namespace

std::vector<VariableOrigin> OriginsOf(const std::wstring& name, const fs::path& data,
                                      const fs::path& defaults) {
    OriginFinder finder(name);
    for (const ConfigFile file : {ConfigFile::Settings, ConfigFile::HmdList, ConfigFile::Quality}) {
        for (const fs::path& folder : {data, defaults}) {
            const fs::path path = folder / NameOfConfigFile(file);
            if (folder.empty() || !fs::exists(path)) {
                continue;
            }
            const FileCheck check(file, ReadBytes(path), {});
            if (check.IsAccepted()) {
                finder.Visit(path, check);
                break;
            }
        }
    }
    return finder.Take();
}

} // namespace zq::tool
