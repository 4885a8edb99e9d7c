#include "check/FolderCheck.h"

#include "check/LastWriters.h"
#include "check/Quote.h"
#include "config/ConfigFile.h"

namespace zq {

namespace {

Problem OverwrittenBy(const FileCheck& winner, const PlacedVariable& variable, const DocumentNode& loser) {
    std::string by = Utf8(NameOfConfigFile(winner.File()));
    if (variable.node) {
        by += ", line " + std::to_string(winner.Source().PositionOf(variable.node->Place()).line);
    }
    return {Severity::Warning,
            "set-by-two-files",
            loser.Place(),
            loser.PlaceEnd(),
            "the variable " + Quoted(VariableBatch::NameOf(*variable.entry)) + " is written over by " + by,
            "take one of them away"};
}

} // namespace

void CheckAcrossFiles(std::span<FileCheck* const> files) {
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

} // namespace zq
