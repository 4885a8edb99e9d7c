// A second, simple model of the reader and the three flatteners: recursive, slow and easy to verify by
// reading. It shares no code with the module, so that a test can compare the two. Portable.
#pragma once

#include "support/RecordingHost.h"
#include "support/TypedVariables.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zq::test {

enum class ReferenceFile { Settings, HmdList, Quality };

struct ReferenceRun {
    bool isLoaded = false;
    int32_t parseResult = 0;
    TypedVariables variables;
    std::vector<LogLine> lines; // of the flattener
};

// `bytes` are ASCII after an optional UTF-8 mark. Without a mark they may be those that all Western code
// pages have in common: from 0xA0 on.
ReferenceRun RunReference(ReferenceFile file, std::string_view bytes);

} // namespace zq::test
