#include "VariableOrigin.h"

#include "FileBytes.h"

#include "check/FileCheck.h"
#include "config/ConfigFile.h"

#include <string_view>
#include <unordered_map>
#include <utility>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

using RecordKind = VariableBatch::Kind;

VariableValue ValueOf(const VariableBatch::Entry& entry) {
    switch (entry.kind) {
    case RecordKind::Bool:
        return static_cast<ZQBool>(entry.boolean);
    case RecordKind::Double:
        return entry.real;
    case RecordKind::String:
        return std::wstring(VariableBatch::TextOf(entry));
    default:
        return entry.integer;
    }
}

bool Sets(RecordKind kind, VariableType type) {
    return TypeOf(kind) == type || (kind == RecordKind::Number && type == VariableTypeDouble);
}

class OriginFinder {
public:
    void Visit(const fs::path& path, const FileCheck& check, const PlacedVariable& variable) {
        AddDuplicates(path, check, variable);
        Add(path, check, variable, variable.node, OriginFate::Counts);
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
            {path, place.line, place.column, ValueOf(variable.entry), variable.entry.kind, fate});
    }

    std::vector<VariableOrigin> m_origins;
};

} // namespace

VariableType TypeOf(RecordKind kind) {
    switch (kind) {
    case RecordKind::Bool:
        return VariableTypeBool;
    case RecordKind::Double:
        return VariableTypeDouble;
    case RecordKind::String:
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

struct VariableOrigins::File {
    File(fs::path filePath, ConfigFile file) : path(std::move(filePath)), check(file, ReadBytes(path), {}) {
        for (const PlacedVariable& variable : check.Variables()) {
            byName[VariableBatch::NameOf(variable.entry)].push_back(&variable);
        }
    }

    fs::path path;
    FileCheck check;
    std::unordered_map<std::wstring_view, std::vector<const PlacedVariable*>> byName;
};

VariableOrigins::VariableOrigins(const fs::path& data, const fs::path& defaults) {
    for (const ConfigFile file : kConfigFiles) {
        for (const fs::path& folder : {data, defaults}) {
            const fs::path path = folder / NameOfConfigFile(file);
            if (folder.empty() || !fs::exists(path)) {
                continue;
            }
            auto read = std::make_unique<File>(path, file);
            if (read->check.IsAccepted()) {
                m_files.push_back(std::move(read));
                break;
            }
        }
    }
}

VariableOrigins::~VariableOrigins() = default;

std::vector<VariableOrigin> VariableOrigins::Of(const std::wstring& name) const {
    OriginFinder finder;
    for (const auto& file : m_files) {
        const auto found = file->byName.find(name);
        if (found != file->byName.end()) {
            for (const PlacedVariable* const variable : found->second) {
                finder.Visit(file->path, file->check, *variable);
            }
        }
    }
    return finder.Take();
}

std::vector<VariableOrigin> OriginsOf(const std::wstring& name, const fs::path& data,
                                      const fs::path& defaults) {
    return VariableOrigins(data, defaults).Of(name);
}

} // namespace zq::tool
