// Fuzz target of the check and the fixing of files: the verdict is the module's, a refusal has a reason with
// a place, and what is fixed is accepted, gives the same variables and has nothing more to be fixed. The
// first byte chooses the file.
#include "Require.h"

#include "check/FileCheck.h"
#include "check/Fix.h"
#include "support/ConfigRun.h"

#include <algorithm>
#include <optional>

namespace {

using zq::fuzz::Require;

void RequirePlaced(const zq::FileCheck& check) {
    bool hasError = false;
    for (const zq::Problem& problem : check.All()) {
        Require(problem.begin >= 0 && problem.begin <= problem.end);
        Require(problem.end <= check.Source().Length());
        const zq::TextPosition position = check.Source().PositionOf(problem.begin);
        Require(position.line >= 1 && position.column >= 1);
        Require(!problem.text.empty());
        hasError |= problem.severity == zq::Severity::Error;
    }
    Require(hasError != check.IsAccepted());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    const auto file = static_cast<zq::ConfigFile>(data[0] % 3);
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    zq::DefaultFile defaults;
    defaults.keys = {L"Settings", L"HD"};
    const zq::FileCheck check(file, bytes, defaults);
    const zq::test::ConfigRun run = zq::test::RunConfig(file, bytes);
    Require(check.IsAccepted() == run.isLoaded);
    RequirePlaced(check);

    const std::optional<zq::FixedFile> fixed = zq::FixFile(file, bytes);
    if (!fixed) {
        return 0;
    }
    Require(zq::test::RunConfig(file, fixed->bytes).isLoaded);
    Require(zq::FileCheck(file, fixed->bytes, {}).IsAccepted());
    const std::optional<zq::FixedFile> again = zq::FixFile(file, fixed->bytes);
    Require(again && !again->isChanged && again->bytes == fixed->bytes);
    return 0;
}
