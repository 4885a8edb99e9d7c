// Takes a document from bytes to variables, without files and without a lock, and keeps the variables and the
// messages. Portable.
#pragma once

#include "base/HostLog.h"
#include "config/ConfigText.h"
#include "support/RecordingHost.h"
#include "support/TypedVariables.h"
#include "variables/VariableBatch.h"
#include "variables/VariableMaps.h"

#include <string_view>
#include <vector>

namespace zq::test {

inline TypedVariables VariablesOf(const VariableMaps& maps) {
    TypedVariables all;
    maps.bools.ForEach([&](std::wstring_view name, uint8_t value) { all.Bool(name, value); });
    maps.Integers().ForEach([&](std::wstring_view name, int64_t value) { all.Int64(name, value); });
    maps.Doubles().ForEach([&](std::wstring_view name, double value) { all.Double(name, value); });
    maps.strings.ForEach([&](std::wstring_view name, std::wstring_view value) { all.String(name, value); });
    return all;
}

struct ConfigRun {
    bool isLoaded = false;
    int32_t parseResult = 0;
    int32_t fileLength = 0;
    TypedVariables variables; // all of the maps
    std::vector<LogLine> lines;
};

inline ConfigRun RunConfig(ConfigFile file, std::string_view bytes, VariableMaps& maps) {
    RecordingHost host;
    HostLog log;
    log.SetHost(&host);
    ConfigText config(file);
    VariableBatch batch(VariableBatch::Names::SharePrefixes);
    ConfigRun run;

    run.isLoaded = config.Read(bytes) && config.Flatten(batch, log);
    if (run.isLoaded) {
        maps.Apply(batch);
    }
    run.parseResult = config.ParseResult();
    run.fileLength = config.FileLength();
    run.variables = VariablesOf(maps);
    run.lines = host.Lines();
    return run;
}

inline ConfigRun RunConfig(ConfigFile file, std::string_view bytes) {
    VariableMaps maps;
    return RunConfig(file, bytes, maps);
}

} // namespace zq::test
