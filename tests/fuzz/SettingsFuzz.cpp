#include "FlattenFuzz.h"

#include <string_view>

namespace zq::fuzz {

// Read in parts, a file gives what its tree gives, down to the messages.
void RequireSameInParts(std::string_view bytes) {
    VariableMaps ofTree;
    VariableMaps inParts;
    const test::ConfigRun wanted =
        test::RunConfig(ConfigFile::Settings, bytes, ofTree, &ConfigText::ReadTree);
    const test::ConfigRun run =
        test::RunConfig(ConfigFile::Settings, bytes, inParts, &ConfigText::ReadInParts);
    Require(run.isLoaded == wanted.isLoaded && run.parseResult == wanted.parseResult);
    Require(run.variables == wanted.variables && run.lines == wanted.lines);
}

} // namespace zq::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    zq::fuzz::RequireBounded(zq::ConfigFile::Settings, data, size);
    zq::fuzz::RequireSameInParts({reinterpret_cast<const char*>(data), size});
    return 0;
}
