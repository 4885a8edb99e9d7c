// A question of a page: one message of the kind "ask" (docs/dashboard.md).
#pragma once

#include "save/RapidJson.h"

#include <cstdint>
#include <string>

namespace zq::tool {

struct Question {
    EditableDocument document; // an object
    int64_t id = 0;
    std::string what;
    std::string fault; // why it is none; empty otherwise
};

// Whatever the text is.
Question ReadQuestion(const std::string& text);

} // namespace zq::tool
