#include "config/SettingsWalker.h"

#include "base/Decimal.h"
#include "base/HostLog.h"
#include "base/UnitPieces.h"

#include <span>

namespace zq {

namespace {

constexpr std::wstring_view kNameList = L"HmdNameList.";

bool HasPoint(std::wstring_view key) {
    const wchar_t* units = key.data();
    const __m128i points = _mm_set1_epi16(L'.');
    __m128i found = _mm_setzero_si128();
    bool hasPoint = false;
    const auto look = [&](__m128i piece) { found = _mm_or_si128(found, _mm_cmpeq_epi16(piece, points)); };
    ForEachPiece(
        key.size(), [&](size_t i) { look(LoadEightUnits(units + i)); },
        [&](size_t i) { look(LoadFourUnits(units + i)); }, [&](size_t i) { hasPoint |= units[i] == L'.'; });
    return hasPoint || !IsZero(found);
}

} // namespace

bool IsHeaderListKey(std::wstring_view key) {
    return key.size() == 2 && (key[0] == L'C' || key[0] == L'c') && (key[1] == L'L' || key[1] == L'l');
}

bool SettingsWalker::TakeMember(std::wstring_view key, const JsonValue& member) {
    m_isInOrder &= !HasPoint(key);
    if (!m_isInOrder || !member.Is(JsonKind::Object)) {
        return false;
    }
    ++m_takenMembers;
    m_name.Replace(key);
    TakeObject(member);
    return true;
}

bool SettingsWalker::TakeElement(std::wstring_view key, const JsonValue& element) {
    // The names of a second list would have to come in the order of the keys.
    m_isInOrder &= m_takenList.empty() || m_takenList.data() == key.data();
    if (!m_isInOrder) {
        return false;
    }
    m_takenList = key;
    const JsonValue* name = element.Member(L"HD");
    if (!name || !name->Is(JsonKind::String)) {
        return true;
    }
    const std::wstring_view text = GetJsonString(*name);
    AddHeaderName(*name);
    if (!text.empty()) {
        m_name.Replace(key);
        m_name.AppendKey(text);
        TakeObject(element);
    }
    return true;
}

void SettingsWalker::TakeObject(const JsonValue& object) {
    Enter(object);
    VisitAll();
}

bool SettingsWalker::IsInOrder(const JsonValue& root) const {
    if (m_takenMembers == 0 && m_takenList.empty()) {
        return true; // there is nothing whose order could matter
    }
    // Where a key comes twice, something that was taken has no member any more.
    size_t members = 0;
    bool hasList = m_takenList.empty();
    for (const JsonMember& member : root.Members()) {
        const bool isEmpty = member.value.count == 0;
        members += member.value.Is(JsonKind::Object) && isEmpty && !member.key.empty() ? 1 : 0;
        hasList |= member.value.Is(JsonKind::Array) && isEmpty && member.key.data() == m_takenList.data();
        if (HasPoint(member.key)) {
            return false;
        }
    }
    return m_isInOrder && members == m_takenMembers && hasList;
}

void SettingsWalker::Walk(std::wstring_view prefix, const JsonValue& root, const HostLog& log,
                          FlattenTrace* trace, JsonLastReading* reading) {
    m_log = &log;
    m_trace = trace;
    m_reading = reading;
    m_name.Replace(prefix);
    Enter(root);
    m_levels.Top().firstName = 0; // those that were taken are the root's
    VisitAll();
}

void SettingsWalker::VisitAll() {
    while (m_levels.Size() != 0) {
        const Level& level = m_levels.Top();
        m_name.CutTo(level.nameLength);
        m_batch.UsePrefix(level.prefix);
        if (IsInList()) {
            VisitHeader();
        } else if (level.next != level.count) {
            VisitMembers();
        } else {
            PublishHeaderNames(level.firstName);
            Leave();
        }
    }
}

bool SettingsWalker::IsOver(const Level& level) const {
    return level.next == level.count && level.firstName == m_names.Size() && !IsInList();
}

void SettingsWalker::Enter(const JsonValue& object) {
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

void SettingsWalker::Leave() {
    Free(std::span(m_levels.Top().members, m_levels.Top().count));
    m_levels.Pop();
}

// Goes on to the end of the level, or into a container.
void SettingsWalker::VisitMembers() {
    Level& level = m_levels.Top();
    const bool isAtTop = level.nameLength == 0;
    while (level.next != level.count) {
        const JsonMember& member = level.members[level.next++];
        m_isInOrder &= m_log || !HasPoint(member.key);
        if (member.key.empty()) {
            ReportSkipped(m_trace, member.value, Skipped::EmptyName);
            continue;
        }
        if (member.value.Is(JsonKind::Array) && IsHeaderListKey(member.key)) {
            if (member.value.count != 0) {
                m_lists.Push({m_levels.Size(), member.value.elements, member.value.count, 0});
                return;
            }
            continue;
        }
        m_name.CutTo(level.nameLength);
        m_name.AppendKey(member.key);
        if (member.value.Is(JsonKind::Object)) {
            Enter(member.value);
            return;
        }
        const BatchName name = isAtTop ? BatchName::Lasting(member.key) : BatchName(m_name.View());
        if (!AddScalar(name, member.value, m_batch, m_trace)) {
            ReportSkipped(m_trace, member.value,
                          member.value.Is(JsonKind::Array) ? Skipped::IgnoredArray : Skipped::Null);
        }
    }
}

void SettingsWalker::VisitHeader() {
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

void SettingsWalker::AddHeaderName(const JsonValue& name) {
    m_names.Push(GetJsonString(name));
    if (m_trace) {
        m_nameNodes.push_back(&name);
    }
}

// Every level does this when it ends, the outermost last: of the counts only its own stays known.
void SettingsWalker::PublishHeaderNames(size_t first) {
    const size_t count = m_names.Size() - first;
    if (!m_log) { // names of an inner level would have to come before those of later keys
        m_isInOrder &= count == 0;
        m_names.CutTo(first);
        return;
    }
    m_batch.UsePrefix(nullptr);
    if (m_levels.Size() == 1) {
        m_batch.AddInt64(L"HmdNameSize", static_cast<int32_t>(count));
    }
    if (count == 0) {
        return;
    }
    constexpr size_t kWorthAPrefix = 8;
    if (!m_listPrefix && count >= kWorthAPrefix) {
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

void SettingsWalker::PublishHeaderName(uint32_t number, std::wstring_view name) {
    m_listName.Replace(kNameList);
    m_listName.Append(Decimal(number).View());
    m_batch.AddString(BatchName::Numbered(m_listName.View(), number), name);
    m_headerName.Replace(name);
    m_log->Log(LogProgress, L"Set variable STRING %s = %s", m_listName.CString(), m_headerName.CString());
}

} // namespace zq
