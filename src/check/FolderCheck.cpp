#include "check/FolderCheck.h"

#include "check/LastWriters.h"
#include "check/Quote.h"
#include "config/ConfigFile.h"

#include <algorithm>
#include <set>
#include <string>

namespace zq {

namespace {

Problem OverwrittenBy(const FileCheck& winner, const PlacedVariable& variable, const DocumentNode& loser) {
    std::string by = Utf8(NameOfConfigFile(winner.File()));
    if (variable.node) {
        by += ", line " + std::to_string(winner.Source().PositionOf(variable.node->Offset()).line);
    }
    return {Severity::Warning,
            "set-by-two-files",
            loser.Offset(),
            loser.OffsetEnd(),
            "the variable " + Quoted(VariableBatch::NameOf(variable.entry)) + " is written over by " + by,
            "remove one of them"};
}

void CheckTwoWriters(std::span<FileCheck* const> files) {
    LastWriters writers;
    std::vector<Problems> found(files.size());
    for (size_t i = 0; i < files.size(); ++i) {
        for (const PlacedVariable& variable : files[i]->Variables()) {
            const auto loser = writers.Write(variable, i);
            if (loser && loser->file != i && loser->node) {
                found[loser->file].push_back(OverwrittenBy(*files[i], variable, *loser->node));
            }
        }
    }
    for (size_t i = 0; i < files.size(); ++i) {
        files[i]->Add(found[i]);
    }
}

using Names = std::set<std::wstring, std::less<>>;

FileCheck* Find(std::span<FileCheck* const> files, ConfigFile file) {
    const auto found = std::find_if(files.begin(), files.end(),
                                    [file](const FileCheck* check) { return check->File() == file; });
    return found == files.end() || !(*found)->IsAccepted() ? nullptr : *found;
}

Names HeadsetsOf(const FileCheck& settings) {
    Names names;
    for (const PlacedVariable& variable : settings.Variables()) {
        if (VariableBatch::NameOf(variable.entry).starts_with(L"HmdNameList.")) {
            names.emplace(VariableBatch::TextOf(variable.entry));
        }
    }
    return names;
}

// The text of a member that is a string without escapes; empty for others.
std::wstring_view TextOf(const FileCheck& check, const DocumentNode& node) {
    if (node.kind != JsonKind::String || node.end - node.begin < 2) {
        return {};
    }
    return std::wstring_view(check.Source().Text())
        .substr(static_cast<size_t>(node.begin) + 1, static_cast<size_t>(node.end - node.begin) - 2);
}

Names DevicesOf(const FileCheck& list) {
    Names names;
    for (const DocumentNode& node : list.Document().Nodes()) {
        if (node.key == L"DeviceName") {
            names.emplace(TextOf(list, node));
        }
    }
    return names;
}

// A headset of the settings must be one of the headset list.
void CheckHeadsets(FileCheck& settings, const Names& devices) {
    Problems found;
    for (const PlacedVariable& variable : settings.Variables()) {
        const std::wstring_view name = VariableBatch::TextOf(variable.entry);
        const bool isHeadset = VariableBatch::NameOf(variable.entry).starts_with(L"HmdNameList.");
        if (isHeadset && variable.node && !name.empty() && !devices.contains(name)) {
            AddWarning(found, "no-such-headset", variable.node->begin, variable.node->end,
                       "the headset list has no device " + Quoted(name),
                       "add it to ZQ2_HmdList.json, or correct the name");
        }
    }
    settings.Add(found);
}

// Presets must be those of a headset of either list.
void CheckPresets(FileCheck& quality, const Names& headsets, const Names& devices) {
    Problems found;
    for (const DocumentNode& node : quality.Document().Nodes()) {
        const bool isPresets = node.parent == 0 && node.kind == JsonKind::Array;
        if (isPresets && !headsets.contains(node.key) && !devices.contains(node.key)) {
            AddWarning(found, "no-such-headset", node.keyBegin, node.keyEnd,
                       "these presets are of no headset: neither \"CL\" nor the headset list has " +
                           Quoted(node.key),
                       "correct the name, or add the headset");
        }
    }
    quality.Add(found);
}

} // namespace

void CheckAcrossFiles(std::span<FileCheck* const> files) {
    CheckTwoWriters(files);
    FileCheck* const settings = Find(files, ConfigFile::Settings);
    FileCheck* const list = Find(files, ConfigFile::HmdList);
    FileCheck* const quality = Find(files, ConfigFile::Quality);
    const Names headsets = settings ? HeadsetsOf(*settings) : Names();
    const Names devices = list ? DevicesOf(*list) : Names();
    if (settings && list) {
        CheckHeadsets(*settings, devices);
    }
    if (quality && settings && list) {
        CheckPresets(*quality, headsets, devices);
    }
}

} // namespace zq
