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

constexpr uint8_t kObject = 2;
constexpr uint8_t kPresets = 3;

// By the position of a preset in its array; later positions share the last one.
constexpr std::array<std::wstring_view, 4> kPresetSuffixes = {L".Quality", L".Balance", L".Performance",
                                                              L".Ultra"};

class QualityWalker {
public:
    QualityWalker(VariableBatch& batch, const HostLog& log, FlattenTrace* trace)
        : m_batch(batch), m_log(log), m_trace(trace) {}

    void Walk(std::wstring_view prefix, const JsonValue& root) {
        Enter(std::wstring(prefix), root);
        while (!m_levels.empty()) {
            Level& level = m_levels.back();
            if (!level.presets.empty()) {
                VisitPreset(level);
            } else if (!level.members.empty()) {
                VisitMember(level);
            } else {
                m_levels.pop_back();
                UseNameOfLevel();
            }
        }
    }

private:
    // One object on the way down: its name and what is left to visit of it.
    struct Level {
        std::wstring name;
        const BatchPrefix* prefix; // that the names of its members share
        std::span<const JsonMember> members;
        std::span<const JsonValue> presets; // what is left of the array under way
        std::wstring_view presetKey;        // its key
        size_t presetIndex;                 // and the position of the next preset in it
    };

    void Enter(std::wstring name, const JsonValue& object) {
        const BatchPrefix* prefix = m_batch.PrefixFor(nullptr, name);
        m_levels.push_back({std::move(name), prefix, object.Members(), {}, {}, 0});
        UseNameOfLevel();
    }

    void UseNameOfLevel() {
        const bool isOver = m_levels.empty();
        m_batch.UsePrefix(isOver ? nullptr : m_levels.back().prefix);
        m_name.Replace(isOver ? std::wstring_view() : m_levels.back().name);
    }

    void VisitMember(Level& level) {
        const JsonMember& member = level.members.front();
        level.members = level.members.subspan(1);
        if (member.key.empty()) {
            ReportSkipped(m_trace, member.value, Skipped::EmptyName);
            return;
        }
        if (member.value.Is(JsonKind::Array)) {
            level.presets = member.value.Elements();
            level.presetKey = member.key;
            level.presetIndex = 0;
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
        const JsonValue& preset = level.presets.front();
        const size_t index = std::min(level.presetIndex++, kPresetSuffixes.size() - 1);
        level.presets = level.presets.subspan(1);
        if (preset.Is(JsonKind::Object)) {
            std::wstring name = L"CL.";
            name += level.presetKey;
            name += kPresetSuffixes[index];
            Enter(std::move(name), preset);
        } else {
            ReportSkipped(m_trace, preset, Skipped::Preset);
        }
    }

    VariableBatch& m_batch;
    const HostLog& m_log;
    FlattenTrace* m_trace;
    NameBuffer m_name{std::wstring_view()};
    std::vector<Level> m_levels;
};

} // namespace

uint8_t QualityRoleOf(uint8_t parent, bool isObject, std::wstring_view key) {
    if (parent == kObject) {
        return isObject || key.empty() ? kJsonUnread : kPresets;
    }
    return isObject ? kObject : kJsonUnread; // the root and the elements of a list of presets
}

void FlattenQualityFile(const JsonValue& root, VariableBatch& batch, const HostLog& log,
                        FlattenTrace* trace) {
    if (root.Is(JsonKind::Object)) {
        FlattenQualityObject({}, root, batch, log, trace);
    }
}

void FlattenQualityObject(std::wstring_view prefix, const JsonValue& object, VariableBatch& batch,
                          const HostLog& log, FlattenTrace* trace) {
    QualityWalker(batch, log, trace).Walk(prefix, object);
}

} // namespace zq
