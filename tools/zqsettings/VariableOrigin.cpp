#include "VariableOrigin.h"

#include "FileBytes.h"

#include "check/FileCheck.h"
#include "config/ConfigFile.h"

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

bool Sets(Kind kind, VariableType type) {
    return TypeOf(kind) == type || (kind == Kind::Number && type == VariableTypeDouble);
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

    std::vector<VariableOrigin> Take() { return std::move(m_origins); }

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
        const TextPosition place = node ? check.Source().PositionOf(node->Offset()) : TextPosition{0, 0};
        m_origins.push_back(
            {path, place.line, place.column, ValueOf(*variable.entry), variable.entry->kind, fate});
    }

    const std::wstring& m_name;
    std::vector<VariableOrigin> m_origins;
};

} // namespace

VariableType TypeOf(Kind kind) {
    switch (kind) {
    case Kind::Bool:
        return VariableTypeBool;
    case Kind::Double:
        return VariableTypeDouble;
    case Kind::String:
        return VariableTypeString;
    default:
        return VariableTypeInt64;
    }
}

std::vector<VariableOrigin> OriginsOfType(const std::vector<VariableOrigin>& origins, VariableType type) {
    std::vector<VariableOrigin> ofType;
    VariableOrigin* last = nullptr;
    for (const VariableOrigin& origin : origins) {
        if (Sets(origin.kind, type)) {
            ofType.push_back(origin);
        }
    }
    for (VariableOrigin& origin : ofType) {
        if (origin.fate == OriginFate::KeyTwice) {
            continue;
        }
        if (last) {
            last->fate = OriginFate::WrittenOver;
        }
        last = &origin;
    }
    return ofType;
}

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
