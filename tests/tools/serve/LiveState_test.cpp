#include "serve/LiveState.h"

#include <gtest/gtest.h>

#include <rapidjson/document.h>

namespace zq::tool {
namespace {

rapidjson::Document HistoryOf(const LiveState& state) {
    rapidjson::Document history;
    history.Parse(("[" + state.History() + "]").c_str());
    return history;
}

TEST(LiveState, KeepsTheNewestMessages) {
    LiveState state("folder", "defaults");
    for (int i = 0; i < 2500; ++i) {
        state.Add(Message("notice").Integer("number", i).Take());
    }

    const rapidjson::Document history = HistoryOf(state);
    ASSERT_EQ(2000u, history.Size());
    EXPECT_EQ(500, history[0]["number"].GetInt());
    EXPECT_EQ(2499, history[1999]["number"].GetInt());
}

TEST(LiveState, KeepsNoMoreBytesThanItsLimit) {
    LiveState state("folder", "defaults");
    for (int i = 0; i < 100; ++i) {
        state.Add(Message("notice").Text("text", std::string(100'000, 'x')).Take());
    }

    EXPECT_LE(state.History().size(), size_t{4} * 1024 * 1024 + 100);
    EXPECT_GE(state.History().size(), size_t{3} * 1024 * 1024);
}

TEST(LiveState, KeepsEventsApartFromAFloodOfLogLinesAndInTheirOrder) {
    LiveState state("folder", "defaults");
    state.Add(Message("notice").Text("text", "first").Take());
    for (int i = 0; i < 3000; ++i) {
        state.AddLog(2, "tag", "line");
    }
    state.Add(Message("notice").Text("text", "last").Take());

    const rapidjson::Document history = HistoryOf(state);
    EXPECT_STREQ("first", history[0]["text"].GetString());
    EXPECT_STREQ("log", history[1]["kind"].GetString());
    EXPECT_STREQ("last", history[history.Size() - 1]["text"].GetString());
}

TEST(LiveState, ReportsEachChangeOnce) {
    LiveState state("folder", "defaults");
    state.SetRun({true, true, ""}, {{L"A", int64_t{1}}, {L"A", 1.0}});

    state.ReloadVariables({{L"A", int64_t{2}}, {L"A", 2.0}}, 12.5);
    state.ChangeVariables({{L"A", int64_t{2}}, {L"A", 2.0}}, {L"A"});

    const rapidjson::Document history = HistoryOf(state);
    ASSERT_EQ(1u, history.Size());
    EXPECT_STREQ("reload", history[0]["kind"].GetString());
    EXPECT_EQ(12.5, history[0]["milliseconds"].GetDouble());
    ASSERT_EQ(1u, history[0]["changes"].Size());
    EXPECT_EQ(2u, history[0]["changes"][0]["types"].Size());
    EXPECT_EQ(2, history[0]["changes"][0]["new"].GetInt());
}

TEST(LiveState, LeavesWhatAReloadHasChangedToItsNotice) {
    LiveState state("folder", "defaults");
    state.SetRun({true, true, ""}, {{L"A", int64_t{1}}, {L"B", int64_t{1}}});
    const std::vector<Variable> now = {{L"A", int64_t{2}}, {L"B", int64_t{2}}};

    state.ChangeVariables(now, {L"A"});
    state.ReloadVariables(now, {});

    const rapidjson::Document history = HistoryOf(state);
    ASSERT_EQ(2u, history.Size());
    EXPECT_STREQ("change", history[0]["kind"].GetString());
    ASSERT_EQ(1u, history[0]["changes"].Size());
    EXPECT_STREQ("A", history[0]["changes"][0]["name"].GetString());
    EXPECT_STREQ("reload", history[1]["kind"].GetString());
    ASSERT_EQ(1u, history[1]["changes"].Size());
    EXPECT_STREQ("B", history[1]["changes"][0]["name"].GetString());
}

TEST(LiveState, ReportsAFileOnlyWhenItIsAnother) {
    LiveState state("folder", "defaults");
    const DataFileState file{ConfigFile::HmdList, true, true, 10, 1, 2};
    state.UpdateFile(file);
    state.UpdateFile(file);
    state.UpdateFolder(true);

    EXPECT_EQ(1u, HistoryOf(state).Size());
}

} // namespace
} // namespace zq::tool
