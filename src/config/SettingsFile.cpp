#include "config/SettingsFile.h"

#include "base/Decimal.h"
#include "base/HostLog.h"
#include "base/PagedStack.h"
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

constexpr uint8_t kSettingsObject = 2;
constexpr uint8_t kHeaderList = 3 | kJsonObjectsOnly;

class SettingsWalker {
public:
    SettingsWalker(std::wstring_view prefix, VariableBatch& batch, const HostLog& log, FlattenTrace* trace,
                   JsonLastReading* reading)
        : m_name(prefix), m_batch(batch), m_log(log), m_trace(trace), m_reading(reading) {}

    void Walk(const JsonValue& root) {
        Enter(root);
        while (m_levels.Size() != 0) {
            const Level& level = m_levels.Top();
            m_name.CutTo(level.nameLength);
            m_batch.UsePrefix(level.prefix);
            if (IsInList()) {
                VisitHeader();
            } else if (level.next != level.count) {
                VisitMember();
            } else {
                PublishHeaderNames(level.firstName);
                Leave();
            }
        }
    }

private:
    // One object on the way down, and how far it was visited. Small: there may be one for ten bytes of a
    // file.
    struct Level {
        const JsonMember* members;
        uint32_t count;
        uint32_t next;             // member
        uint32_t nameLength;       // characters
        uint32_t firstName;        // of those headers that are in lists of this object
        const BatchPrefix* prefix; // that the names of its members share
    };

    // A header list under way: the member before the next one of its level.
    struct HeaderList {
        size_t depth; // of its level
        const JsonValue* headers;
        uint32_t count;
        uint32_t next;
    };

    bool IsInList() const { return m_lists.Size() != 0 && m_lists.Top().depth == m_levels.Size(); }

    void Enter(const JsonValue& object) {
        const BatchPrefix* outer = m_levels.Size() != 0 ? m_levels.Top().prefix : nullptr;
        const Level level{object.members,
                          object.count,
                          0,
                          static_cast<uint32_t>(m_name.Length()),
                          static_cast<uint32_t>(m_names.Size()),
                          m_batch.PrefixFor(outer, m_name.View())};
        // Nesting in the last member costs no memory.
        if (m_levels.Size() > 1 && IsOver(m_levels.Top())) {
            Leave();
        }
        m_levels.Push(level);
    }

    bool IsOver(const Level& level) const {
        return level.next == level.count && level.firstName == m_names.Size() && !IsInList();
    }

    void Leave() {
        Free(std::span(m_levels.Top().members, m_levels.Top().count));
        m_levels.Pop();
    }

    void VisitMember() {
        Level& level = m_levels.Top();
        const JsonMember& member = level.members[level.next++];
        if (member.key.empty()) {
            ReportSkipped(m_trace, member.value, Skipped::EmptyName);
            return;
        }
        if (member.value.Is(JsonKind::Array) && IsHeaderListKey(member.key)) {
            if (member.value.count != 0) {
                m_lists.Push({m_levels.Size(), member.value.elements, member.value.count, 0});
            }
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
    void VisitHeader() {
        HeaderList& list = m_lists.Top();
        const JsonValue& element = list.headers[list.next++];
        const JsonValue header = element; // the list may be freed before it
        const JsonValue* name = header.Member(L"HD");
        std::wstring_view text;
        if (name && name->Is(JsonKind::String)) {
            text = GetJsonString(*name);
            AddHeaderName(*name);
        } else {
            ReportSkipped(m_trace, element, Skipped::Header);
        }
        if (list.next == list.count) {
            Free(std::span(list.headers, list.count));
            m_lists.Pop();
        }
        if (text.empty()) {
            Free(header.Members());
        } else {
            const Level& level = m_levels.Top();
            m_name.AppendKey(level.members[level.next - 1].key);
            m_name.AppendKey(text);
            Enter(header);
        }
    }

    template <class Container>
    void Free(Container container) {
        if (m_reading) {
            m_reading->Free(container);
        }
    }

    void AddHeaderName(const JsonValue& name) {
        m_names.Push(GetJsonString(name));
        if (m_trace) {
            m_nameNodes.push_back(&name);
        }
    }

    // Every level does this when it ends, the outermost last: of the counts only its own stays known.
    void PublishHeaderNames(size_t first) {
        const size_t count = m_names.Size() - first;
        m_batch.UsePrefix(nullptr);
        if (m_levels.Size() == 1) {
            m_batch.AddInt64(L"HmdNameSize", static_cast<int32_t>(count));
        }
        if (count == 0) {
            return;
        }
        if (!m_listPrefix) {
            m_listPrefix = m_batch.MakePrefix(kNameList);
        }
        m_batch.UsePrefix(m_listPrefix);
        uint32_t number = 0;
        m_names.ForEachRun(first, [&](const std::wstring_view* names, size_t run) {
            for (const std::wstring_view name : std::span(names, run)) {
                PublishHeaderName(number, name);
                if (m_trace) {
                    ReportAdded(m_trace, *m_nameNodes[first + number]);
                }
                ++number;
            }
        });
        m_names.CutTo(first);
        m_nameNodes.resize(m_trace ? first : 0);
    }

    void PublishHeaderName(uint32_t number, std::wstring_view name) {
        m_listName.assign(kNameList).append(Decimal(number).View());
        m_batch.AddString(BatchName::Numbered(m_listName, number), name);
        m_headerName = name;
        m_log.Log(LogProgress, L"Set variable STRING %s = %s", m_listName.c_str(), m_headerName.c_str());
    }

    static constexpr std::wstring_view kNameList = L"HmdNameList.";

    NameBuffer m_name;
    VariableBatch& m_batch;
    const HostLog& m_log;
    FlattenTrace* m_trace;
    JsonLastReading* m_reading;
    PagedStack<Level, 128> m_levels;
    PagedStack<HeaderList, 32> m_lists;
    PagedStack<std::wstring_view, 256> m_names; // of headers, those of the innermost level last
    std::vector<const JsonValue*> m_nameNodes;  // where they stand, for the trace
    const BatchPrefix* m_listPrefix = nullptr;
    std::wstring m_listName; // of the variable that holds a header's name
    std::wstring m_headerName;
};

} // namespace

uint8_t SettingsRoleOf(uint8_t parent, bool isObject, std::wstring_view key) {
    if (parent == kSettingsObject) {
        const bool isRead = isObject ? !key.empty() : IsHeaderListKey(key);
        return !isRead ? kJsonUnread : isObject ? kSettingsObject : kHeaderList;
    }
    return isObject ? kSettingsObject : kJsonUnread; // the root and the elements of a header list
}

void FlattenSettingsFile(const JsonValue& root, VariableBatch& batch, const HostLog& log, FlattenTrace* trace,
                         JsonLastReading* reading) {
    if (root.Is(JsonKind::Object)) {
        FlattenSettingsObject({}, root, batch, log, trace, reading);
    }
}

void FlattenSettingsObject(std::wstring_view prefix, const JsonValue& object, VariableBatch& batch,
                           const HostLog& log, FlattenTrace* trace, JsonLastReading* reading) {
    SettingsWalker(prefix, batch, log, trace, reading).Walk(object);
}

} // namespace zq
