#include "SettingsDocument.h"

#include "Text.h"

#include "check/FileCheck.h"

namespace zq::tool {

namespace {

constexpr std::wstring_view kHeadsetList = L"CL";
constexpr std::wstring_view kHeadsetName = L"HD";

} // namespace

SettingsDocument::SettingsDocument(std::string_view bytes)
    : m_check(std::make_unique<FileCheck>(ConfigFile::Settings, bytes, DefaultFile())) {}

SettingsDocument::~SettingsDocument() = default;

const DocumentNode* SettingsDocument::Root() const {
    const auto& nodes = m_check->Document().Nodes();
    return nodes.empty() ? nullptr : &nodes.front();
}

// Of keys that come twice the last, which is the one that the module reads.
const DocumentNode* SettingsDocument::Child(const DocumentNode* object, std::wstring_view key) const {
    const DocumentNode* found = nullptr;
    if (object && object->kind == JsonKind::Object) {
        for (const int32_t child : object->children) {
            const DocumentNode& node = m_check->Document().Nodes()[static_cast<size_t>(child)];
            found = node.key == key ? &node : found;
        }
    }
    return found;
}

std::wstring SettingsDocument::TextOf(const DocumentNode& node) const {
    return m_check->Source().Text().substr(static_cast<size_t>(node.begin),
                                           static_cast<size_t>(node.end - node.begin));
}

std::optional<SettingMember> SettingsDocument::MemberOf(const DocumentNode* node) const {
    if (!node) {
        return std::nullopt;
    }
    return SettingMember{node->kind, m_check->Source().PositionOf(node->Offset()).line,
                         Visible(TextOf(*node))};
}

std::optional<SettingMember> SettingsDocument::RootMember(std::wstring_view name) const {
    return MemberOf(Child(Root(), name));
}

std::optional<EnclosingObject> SettingsDocument::ObjectAround(std::wstring_view name) const {
    const DocumentNode* object = Root();
    for (;;) {
        // The longest key that the name begins with: keys may hold points themselves.
        size_t point = name.rfind(L'.');
        const DocumentNode* next = nullptr;
        while (point != std::wstring_view::npos && point > 0) {
            const DocumentNode* const child = Child(object, name.substr(0, point));
            if (child && child->kind == JsonKind::Object) {
                next = child;
                break;
            }
            point = name.rfind(L'.', point - 1);
        }
        if (!next) {
            return std::nullopt;
        }
        object = next;
        name.remove_prefix(point + 1);
        if (Child(object, name)) {
            return EnclosingObject{Utf8FromWide(object->key),
                                   m_check->Source().PositionOf(object->Offset()).line};
        }
    }
}

std::vector<std::wstring> SettingsDocument::RootNames() const {
    std::vector<std::wstring> names;
    if (const DocumentNode* const root = Root()) {
        for (const int32_t child : root->children) {
            const DocumentNode& node = m_check->Document().Nodes()[static_cast<size_t>(child)];
            if (node.kind != JsonKind::Object && node.kind != JsonKind::Array) {
                names.emplace_back(node.key);
            }
        }
    }
    return names;
}

size_t SettingsDocument::Headsets() const {
    const DocumentNode* const list = Child(Root(), kHeadsetList);
    return list && list->kind == JsonKind::Array ? list->children.size() : 0;
}

const DocumentNode* SettingsDocument::Headset(size_t index) const {
    if (index >= Headsets()) {
        return nullptr;
    }
    const int32_t node = Child(Root(), kHeadsetList)->children[index];
    return &m_check->Document().Nodes()[static_cast<size_t>(node)];
}

std::wstring SettingsDocument::HeadsetName(size_t index) const {
    const DocumentNode* const name = Child(Headset(index), kHeadsetName);
    if (!name || name->kind != JsonKind::String) {
        return {};
    }
    const std::wstring quoted = TextOf(*name);
    return quoted.size() < 2 ? quoted : quoted.substr(1, quoted.size() - 2);
}

std::optional<SettingMember> SettingsDocument::HeadsetMember(size_t index, std::wstring_view key) const {
    return MemberOf(Child(Headset(index), key));
}

std::vector<std::wstring> SettingsDocument::HeadsetNames(size_t index) const {
    std::vector<std::wstring> names;
    if (const DocumentNode* const headset = Headset(index)) {
        for (const int32_t child : headset->children) {
            const DocumentNode& node = m_check->Document().Nodes()[static_cast<size_t>(child)];
            names.push_back(std::wstring(kHeadsetList) + L'.' + HeadsetName(index) + L'.' +
                            std::wstring(node.key));
        }
    }
    return names;
}

} // namespace zq::tool
