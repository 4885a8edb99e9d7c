#include "config/QualityPresetFile.h"

#include "base/HostLog.h"
#include "config/Flattening.h"
#include "config/json/JsonReader.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <vector>

namespace zq {

namespace {

constexpr uint8_t kPresetObject = 2;
constexpr uint8_t kPresets = 3;

// By the position of a preset in its array; later positions share the last one.
constexpr std::array<std::wstring_view, 4> kPresetSuffixes = {L".Quality", L".Balance", L".Performance",
                                                              L".Ultra"};

class QualityWalker {
public:
    QualityWalker(VariableBatch& batch, const HostLog& log, FlattenTrace* trace, JsonLastReading* reading)
        : m_batch(batch), m_log(log), m_trace(trace), m_reading(reading) {}

    void Walk(std::wstring_view prefix, const JsonValue& root) {
        Enter(std::wstring(prefix), root);
        while (!m_levels.empty()) {
            Level& level = m_levels.back();
            if (level.nextPreset != level.presets.size()) {
                VisitPreset(level);
            } else if (level.nextMember != level.members.size()) {
                VisitMember(level);
            } else {
                Free(level.members);
                m_levels.pop_back();
                UseNameOfLevel();
            }
        }
    }

private:
    // One object on the way down: its name, and how far it was visited.
    struct Level {
        std::wstring name;
        const BatchPrefix* prefix; // that the names of its members share
        std::span<const JsonMember> members;
        size_t nextMember;
        std::span<const JsonValue> presets; // the array under way, in the member before the next one
        size_t nextPreset;
    };

    void Enter(std::wstring name, const JsonValue& object) {
        const BatchPrefix* prefix = m_batch.PrefixFor(nullptr, name);
        m_levels.push_back({std::move(name), prefix, object.Members(), 0, {}, 0});
        UseNameOfLevel();
    }

    void UseNameOfLevel() {
        const bool isOver = m_levels.empty();
        m_batch.UsePrefix(isOver ? nullptr : m_levels.back().prefix);
        m_name.Replace(isOver ? std::wstring_view() : m_levels.back().name);
    }

    template <class Container>
    void Free(Container container) {
        if (m_reading) {
            m_reading->Free(container);
        }
    }

    void VisitMember(Level& level) {
        const JsonMember& member = level.members[level.nextMember++];
        if (member.key.empty()) {
            ReportSkipped(m_trace, member.value, Skipped::EmptyName);
            return;
        }
        if (member.value.Is(JsonKind::Array)) {
            level.presets = member.value.Elements();
            level.nextPreset = 0;
            return;
        }
        m_name.CutTo(level.name.size());
        m_name.AppendKey(member.key);
        if (!AddScalar(m_name.View(), member.value, m_batch, m_trace)) {
            ReportSkipped(m_trace, member.value, Skipped::PresetMember);
            m_log.Log(LogFailure, L"Invalid Quality Preset item : %s", level.name.c_str());
        }
    }

    // An array starts a new "CL." name, whatever its depth: the name around it is dropped.
    void VisitPreset(Level& level) {
        const size_t index = std::min(level.nextPreset, kPresetSuffixes.size() - 1);
        const JsonValue& element = level.presets[level.nextPreset++];
        const JsonValue preset = element; // the array may be freed before it
        if (!preset.Is(JsonKind::Object)) {
            ReportSkipped(m_trace, element, Skipped::Preset);
        }
        if (level.nextPreset == level.presets.size()) {
            Free(level.presets);
        }
        if (preset.Is(JsonKind::Object)) {
            constexpr std::wstring_view kStart = L"CL.";
            const std::wstring_view key = level.members[level.nextMember - 1].key;
            std::wstring name;
            name.reserve(kStart.size() + key.size() + kPresetSuffixes[index].size());
            name.append(kStart).append(key).append(kPresetSuffixes[index]);
            Enter(std::move(name), preset);
        }
    }

    VariableBatch& m_batch;
    const HostLog& m_log;
    FlattenTrace* m_trace;
    JsonLastReading* m_reading;
    NameBuffer m_name{std::wstring_view()};
    std::vector<Level> m_levels;
};

} // namespace

uint8_t QualityRoleOf(uint8_t parent, bool isObject, std::wstring_view key) {
    if (parent == kPresetObject) {
        return isObject || key.empty() ? kJsonUnread : kPresets;
    }
    return isObject ? kPresetObject : kJsonUnread; // the root and the elements of a list of presets
}

void FlattenQualityFile(const JsonValue& root, VariableBatch& batch, const HostLog& log, FlattenTrace* trace,
                        JsonLastReading* reading) {
    if (root.Is(JsonKind::Object)) {
        FlattenQualityObject({}, root, batch, log, trace, reading);
    }
}

void FlattenQualityObject(std::wstring_view prefix, const JsonValue& object, VariableBatch& batch,
                          const HostLog& log, FlattenTrace* trace, JsonLastReading* reading) {
    QualityWalker(batch, log, trace, reading).Walk(prefix, object);
}

} // namespace zq
