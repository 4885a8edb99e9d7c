#include "config/SettingsFile.h"

#include "base/HostLog.h"
#include "config/Flattening.h"
#include "config/json/JsonReader.h"

#include <span>
#include <string>
#include <vector>

namespace zq {

namespace {

bool IsHeaderListKey(std::wstring_view key) {
    return key.size() == 2 && (key[0] == L'C' || key[0] == L'c') && (key[1] == L'L' || key[1] == L'l');
}

constexpr uint8_t kObject = 2;
constexpr uint8_t kHeaderList = 3 | kJsonObjectsOnly;

class SettingsWalker {
public:
    SettingsWalker(std::wstring_view prefix, VariableBatch& batch, const HostLog& log, FlattenTrace* trace)
        : m_name(prefix), m_batch(batch), m_log(log), m_trace(trace) {}

    void Walk(const JsonValue& root) {
        Enter(root);
        while (!m_levels.empty()) {
            Level& level = m_levels.back();
            m_name.CutTo(level.nameLength);
            m_batch.UsePrefix(level.prefix);
            if (!level.headers.empty()) {
                VisitHeader(level);
            } else if (!level.members.empty()) {
                VisitMember(level);
            } else {
                PublishHeaderNames(level.headerNames);
                m_levels.pop_back();
            }
        }
    }

private:
    // One object on the way down: what is left to visit of it.
    struct Level {
        size_t nameLength;
        const BatchPrefix* prefix; // that the names of its members share
        std::span<const JsonMember> members;
        std::span<const JsonValue> headers; // what is left of the header list under way
        std::wstring_view headerKey;        // and its key
        std::vector<const JsonValue*> headerNames;

        bool IsOver() const { return members.empty() && headers.empty() && headerNames.empty(); }
    };

    void Enter(const JsonValue& object) {
        const BatchPrefix* outer = m_levels.empty() ? nullptr : m_levels.back().prefix;
        // Nesting in the last member costs no memory.
        if (m_levels.size() > 1 && m_levels.back().IsOver()) {
            m_levels.pop_back();
        }
        m_levels.push_back(
            {m_name.Length(), m_batch.PrefixFor(outer, m_name.View()), object.Members(), {}, {}, {}});
    }

    void VisitMember(Level& level) {
        const JsonMember& member = level.members.front();
        level.members = level.members.subspan(1);
        if (member.key.empty()) {
            ReportSkipped(m_trace, member.value, Skipped::EmptyName);
            return;
        }
        if (member.value.Is(JsonKind::Array) && IsHeaderListKey(member.key)) {
            level.headers = member.value.Elements();
            level.headerKey = member.key;
            return;
        }
        m_name.AppendKey(member.key);
        const bool isAtTop = m_name.Length() == member.key.size();
        const BatchName name = isAtTop ? BatchName::Lasting(member.key) : BatchName(m_name.View());
        if (member.value.Is(JsonKind::Object)) {
            Enter(member.value);
        } else if (!AddScalar(name, member.value, m_batch, m_trace)) {
            ReportSkipped(m_trace, member.value,
                          member.value.Is(JsonKind::Array) ? Skipped::IgnoredArray : Skipped::Null);
        }
    }

    void VisitHeader(Level& level) {
        const JsonValue& header = level.headers.front();
        level.headers = level.headers.subspan(1);
        const JsonValue* name = header.Member(L"HD");
        if (!name || !name->Is(JsonKind::String)) {
            ReportSkipped(m_trace, header, Skipped::Header);
            return;
        }
        const std::wstring_view text = GetJsonString(*name);
        level.headerNames.push_back(name);
        if (!text.empty()) {
            m_name.AppendKey(level.headerKey);
            m_name.AppendKey(text);
            Enter(header);
        }
    }

    // Every level does this when it ends, the outermost last: of the counts only its own stays known.
    void PublishHeaderNames(const std::vector<const JsonValue*>& names) {
        constexpr std::wstring_view kList = L"HmdNameList.";
        m_batch.UsePrefix(nullptr);
        if (m_levels.size() == 1) {
            m_batch.AddInt64(L"HmdNameSize", static_cast<int32_t>(names.size()));
        }
        if (!names.empty() && !m_listPrefix) {
            m_listPrefix = m_batch.MakePrefix(kList);
        }
        m_batch.UsePrefix(m_listPrefix);
        for (size_t i = 0; i < names.size(); ++i) {
            const std::wstring variable = std::wstring(kList) + std::to_wstring(i);
            const std::wstring_view name = GetJsonString(*names[i]);
            m_batch.AddString(variable, name);
            ReportAdded(m_trace, *names[i]);
            m_log.Log(LogProgress, L"Set variable STRING %s = %s", variable.c_str(),
                      std::wstring(name).c_str());
        }
    }

    NameBuffer m_name;
    VariableBatch& m_batch;
    const HostLog& m_log;
    FlattenTrace* m_trace;
    std::vector<Level> m_levels;
    const BatchPrefix* m_listPrefix = nullptr; // of the header names
};

} // namespace

uint8_t SettingsRoleOf(uint8_t parent, bool isObject, std::wstring_view key) {
    if (parent == kObject) {
        const bool isRead = isObject ? !key.empty() : IsHeaderListKey(key);
        return !isRead ? kJsonUnread : isObject ? kObject : kHeaderList;
    }
    return isObject ? kObject : kJsonUnread; // the root and the elements of a header list
}

void FlattenSettingsFile(const JsonValue& root, VariableBatch& batch, const HostLog& log,
                         FlattenTrace* trace) {
    if (root.Is(JsonKind::Object)) {
        FlattenSettingsObject({}, root, batch, log, trace);
    }
}

void FlattenSettingsObject(std::wstring_view prefix, const JsonValue& object, VariableBatch& batch,
                           const HostLog& log, FlattenTrace* trace) {
    SettingsWalker(prefix, batch, log, trace).Walk(object);
}

} // namespace zq
