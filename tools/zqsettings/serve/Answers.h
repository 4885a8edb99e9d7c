// The answers to the questions of a page, one function a question.
#pragma once

#include "LiveMessage.h"
#include "serve/Dashboard.h"

#include "save/RapidJson.h"

#include <string>
#include <string_view>

namespace zq::tool {

// The members of a question.
class Arguments {
public:
    explicit Arguments(const EditableValue& object) : m_object(object) {}

    // Raises Failure where the member is missing or no text.
    std::string Text(const char* name) const;
    std::string TextOr(const char* name, std::string_view otherwise) const;
    bool IsSet(const char* name) const;
    // One of the three files, by its name. Raises Failure for another one.
    ConfigFile File() const;

private:
    const EditableValue& m_object;
};

struct AnswerRow {
    const char* what;
    bool isSlow; // writes, or takes long
    // Writes the members of the result. Raises Failure, with the reason, where there is none.
    void (*answer)(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer);
};

// Null for an unknown question.
const AnswerRow* AnswerOf(std::string_view what);

// A variable packet, as bytes.
void AnswerPacket(MessageWriter& writer, std::string_view packet);

} // namespace zq::tool
