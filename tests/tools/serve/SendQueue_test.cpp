#include "serve/SendQueue.h"

#include <gtest/gtest.h>

#include <vector>

namespace zq::tool {
namespace {

WebText Text(const std::string& text) { return std::make_shared<const std::string>(text); }

// What is written until nothing waits.
std::vector<std::string> Drained(SendQueue& queue) {
    std::vector<std::string> texts;
    while (const WebText next = queue.Next()) {
        texts.push_back(*next);
        queue.OnWritten();
    }
    return texts;
}

// 10 bytes of broadcasts, 20 of answers.
class SendQueueTest : public testing::Test {
protected:
    SendQueueTest() { m_queue.AddState(5, Text("state")); }

    SendQueue m_queue{SendQueue::Limits{10, 20}};
};

TEST(SendQueue, SendsNothingBeforeTheFirstState) {
    SendQueue queue;
    queue.AddBroadcast(1, Text("a"));

    EXPECT_EQ(nullptr, queue.Next());
}

TEST_F(SendQueueTest, WritesOneTextAtATimeInTheirOrder) {
    m_queue.AddBroadcast(6, Text("a"));
    m_queue.AddAnswer(Text("b"));

    EXPECT_EQ("state", *m_queue.Next());
    EXPECT_EQ(nullptr, m_queue.Next());
    m_queue.OnWritten();
    EXPECT_EQ((std::vector<std::string>{"a", "b"}), Drained(m_queue));
    EXPECT_EQ(0u, m_queue.Bytes());
}

TEST_F(SendQueueTest, DropsWhatTheStateIncludes) {
    m_queue.AddBroadcast(5, Text("old"));
    m_queue.AddBroadcast(6, Text("new"));

    EXPECT_EQ((std::vector<std::string>{"state", "new"}), Drained(m_queue));
}

TEST_F(SendQueueTest, GivesASlowReaderAWholeStateInsteadOfItsBacklog) {
    EXPECT_EQ("state", *m_queue.Next());
    m_queue.AddBroadcast(6, Text("aaaa"));
    m_queue.AddAnswer(Text("answer"));
    m_queue.AddBroadcast(7, Text("bbbb"));
    m_queue.AddBroadcast(8, Text("cccc"));

    EXPECT_FALSE(m_queue.TakeStateWanted()) << "while something waits";
    m_queue.OnWritten();
    EXPECT_EQ((std::vector<std::string>{"answer"}), Drained(m_queue));
    EXPECT_TRUE(m_queue.TakeStateWanted());
    EXPECT_FALSE(m_queue.TakeStateWanted()) << "once";
    m_queue.AddBroadcast(9, Text("d"));
    EXPECT_EQ(nullptr, m_queue.Next()) << "the state will include it";
    m_queue.AddState(9, Text("anew"));
    m_queue.AddBroadcast(10, Text("e"));
    EXPECT_EQ((std::vector<std::string>{"anew", "e"}), Drained(m_queue));
}

TEST_F(SendQueueTest, NeverHoldsMoreThanItsLimits) {
    m_queue.Next();
    for (uint64_t i = 6; i < 1000; ++i) {
        m_queue.AddBroadcast(i, Text("aaa"));
        EXPECT_LE(m_queue.Bytes(), 10u);
    }
}

TEST_F(SendQueueTest, TakesOneTextOfAnySize) {
    SendQueue queue(SendQueue::Limits{10, 20});
    queue.AddState(1, Text(std::string(100, 's')));
    EXPECT_TRUE(queue.AddAnswer(Text(std::string(100, 'a'))));

    EXPECT_EQ(200u, queue.Bytes());
}

TEST_F(SendQueueTest, RefusesMoreAnswersThanItsLimit) {
    EXPECT_TRUE(m_queue.AddAnswer(Text("1234567890")));
    EXPECT_TRUE(m_queue.AddAnswer(Text("1234567890")));
    EXPECT_FALSE(m_queue.AddAnswer(Text("1")));
}

TEST_F(SendQueueTest, ForgetsEverythingWithTheConnection) {
    m_queue.Next();
    m_queue.AddAnswer(Text("a"));
    m_queue.Clear();
    m_queue.OnWritten(); // of the text that was being written

    EXPECT_EQ(0u, m_queue.Bytes());
    EXPECT_EQ(nullptr, m_queue.Next());
}

} // namespace
} // namespace zq::tool
