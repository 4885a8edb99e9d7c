#include "serve/Question.h"

#include <gtest/gtest.h>

namespace zq::tool {
namespace {

TEST(Question, HasANumberAndWhatIsAsked) {
    const Question question =
        ReadQuestion(R"({"version":1,"kind":"ask","id":7,"what":"explain","name":"A"})");

    EXPECT_EQ("", question.fault);
    EXPECT_EQ(7, question.id);
    EXPECT_EQ("explain", question.what);
    EXPECT_STREQ("A", question.document["name"].GetString());
}

TEST(Question, IsNoneWhereTheTextIsNoJsonObject) {
    for (const std::string& text :
         {std::string(), std::string("x"), std::string("[]"), std::string("7"),
          std::string("{\"kind\":\"ask\""), std::string("{}{}"), std::string("\0{}", 3),
          std::string(1'000'000, '['), std::string(1'000'000, '{')}) {
        EXPECT_EQ("the message is no JSON object", ReadQuestion(text).fault) << text.substr(0, 20);
    }
}

TEST(Question, OfAnyDepthEndsWell) {
    std::string text = R"({"kind":"ask","what":"x","deep":)";
    text += std::string(1'000'000, '[') + std::string(1'000'000, ']') + '}';

    EXPECT_EQ("", ReadQuestion(text).fault);
}

TEST(Question, OfAnotherKindKeepsItsNumberForTheAnswer) {
    const Question question = ReadQuestion(R"({"kind":"state","id":9})");

    EXPECT_EQ("only messages of the kind \"ask\" are answered", question.fault);
    EXPECT_EQ(9, question.id);
}

TEST(Question, TakesMembersOfOtherTypesForMissingOnes) {
    const Question question = ReadQuestion(R"({"kind":"ask","id":"7","what":{}})");

    EXPECT_EQ("", question.fault);
    EXPECT_EQ(0, question.id);
    EXPECT_EQ("", question.what);
}

} // namespace
} // namespace zq::tool
