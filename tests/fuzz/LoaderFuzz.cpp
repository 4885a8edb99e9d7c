// Fuzz target of a whole load: the module and the plain model of the tests agree on verdict, count, variables
// and messages. The first byte chooses the file; the model reads only ASCII, after an optional mark.
#include "Require.h"

#include "support/ConfigRun.h"
#include "support/ReferenceModel.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using zq::fuzz::Require;
    if (size == 0) {
        return 0;
    }
    std::string bytes = data[0] >= 0x80 ? "\xEF\xBB\xBF" : "";
    for (size_t i = 1; i < size; ++i) {
        bytes += static_cast<char>(data[i] & 0x7F);
    }
    const int file = data[0] % 3;
    const zq::test::ConfigRun run = zq::test::RunConfig(static_cast<zq::ConfigFile>(file), bytes);
    const zq::test::ReferenceRun expected =
        zq::test::RunReference(static_cast<zq::test::ReferenceFile>(file), bytes);
    Require(run.isLoaded == expected.isLoaded);
    Require(run.parseResult == expected.parseResult);
    Require(run.variables == expected.variables);
    Require(run.lines == expected.lines);
    return 0;
}
