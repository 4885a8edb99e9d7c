// Takes a document from bytes to variables, without files and without a lock, and keeps the variables and the
// messages. Portable.
#pragma once

#include "base/HostLog.h"
#include "config/ConfigText.h"
#include "support/RecordingHost.h"
#include "support/TypedVariables.h"
#include "variables/VariableBatch.h"
#include "variables/VariableMaps.h"

#include <gtest/gtest.h>

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

using ConfigRead = bool (ConfigText::*)(std::string_view);

inline ConfigRun RunConfig(ConfigFile file, std::string_view bytes, VariableMaps& maps,
                           ConfigRead read = &ConfigText::Read) {
    RecordingHost host;
    HostLog log;
    log.SetHost(&host);
    ConfigText config(file);
    ConfigRun run;

    run.isLoaded = (config.*read)(bytes) && config.Flatten(log);
    if (run.isLoaded) {
        maps.Apply(config.TakeBatch());
    }
    run.parseResult = config.ParseResult();
    run.fileLength = config.FileLength();
    run.variables = VariablesOf(maps);
    run.lines = host.Lines();
    return run;
}

// Settings are read both ways, to one result.
inline ConfigRun RunConfig(ConfigFile file, std::string_view bytes) {
    VariableMaps maps;
    ConfigRun run = RunConfig(file, bytes, maps);
    if (file == ConfigFile::Settings) {
        VariableMaps others;
        const ConfigRun inParts = RunConfig(file, bytes, others, &ConfigText::ReadInParts);
        EXPECT_EQ(run.isLoaded, inParts.isLoaded);
        EXPECT_EQ(run.parseResult, inParts.parseResult);
        EXPECT_EQ(run.fileLength, inParts.fileLength);
        EXPECT_EQ(run.variables, inParts.variables);
        EXPECT_EQ(run.lines, inParts.lines);
    }
    return run;
}

} // namespace zq::test
