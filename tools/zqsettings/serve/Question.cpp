#include "serve/Question.h"

#include "serve/Answers.h"

namespace zq::tool {

Question ReadQuestion(const std::string& text) {
    Question question;
    // Not recursive: a page's text may be as deep as it likes.
    question.document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
    if (question.document.HasParseError() || !question.document.IsObject()) {
        question.fault = "the message is no JSON object";
        return question;
    }
    const auto id = question.document.FindMember("id");
    if (id != question.document.MemberEnd() && id->value.IsInt64()) {
        question.id = id->value.GetInt64();
    }
    const Arguments arguments(question.document);
    question.what = arguments.TextOr("what", "");
    if (arguments.TextOr("kind", "") != "ask") {
        question.fault = "only messages of the kind \"ask\" are answered";
    }
    return question;
}

} // namespace zq::tool
