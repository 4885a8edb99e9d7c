#include "variables/hosts/HostAgent.h"

#include "support/win32/VariableHost.h"
#include "support/win32/Waiting.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

std::shared_ptr<const std::wstring> Name(const wchar_t* name) {
    return std::make_shared<const std::wstring>(name);
}

TEST(HostAgent, DeliversInTheOrderOfQueueingWhatWasQueuedBeforeItsStartToo) {
    NoticeHost host;
    NoticeHost source;
    CZQVariableHostAgent agent(&host, {});
    agent.Enqueue(Name(L"a"), VariableTypeBool, nullptr);
    agent.EnqueueReload();
    agent.Enqueue(Name(L"b"), VariableTypeString, &source);

    agent.Start();

    EXPECT_TRUE(WaitFor([&] { return host.Count() == 3; }));
    const std::vector<Notice> expected = {{L"a", VariableTypeBool, nullptr},
                                          {L"", VariableTypeNone, nullptr},
                                          {L"b", VariableTypeString, &source}};
    EXPECT_EQ(expected, host.Notices());
}

TEST(HostAgent, AHostIsNotNotifiedOfItsOwnChanges) {
    NoticeHost host;
    CZQVariableHostAgent agent(&host, {});
    agent.Start();

    agent.Enqueue(Name(L"own"), VariableTypeBool, &host);
    agent.Enqueue(Name(L"other"), VariableTypeBool, nullptr);

    EXPECT_TRUE(WaitFor([&] { return host.Count() == 1; }));
    EXPECT_EQ(L"other", host.Notices()[0].name);
}

TEST(HostAgent, IsGoneOnceItWasStopped) {
    NoticeHost host;
    CZQVariableHostAgent agent(&host, {});
    agent.Start();
    EXPECT_FALSE(agent.IsGone());
    EXPECT_FALSE(agent.IsCurrentThread());

    agent.Stop();

    EXPECT_TRUE(agent.IsGone());
    agent.WaitUntilStopped();
    agent.EnqueueReload();
    EXPECT_EQ(0U, host.Count());
}

TEST(HostAgent, ACallbackIsOnTheAgentsThread) {
    NoticeHost host;
    CZQVariableHostAgent agent(&host, {});
    std::atomic<bool> isCurrent{false};
    host.onNotice = [&](const Notice&) { isCurrent = agent.IsCurrentThread(); };
    agent.EnqueueReload();

    agent.Start();

    EXPECT_TRUE(WaitFor([&] { return isCurrent.load(); }));
    agent.Stop();
}

TEST(HostAgent, WithoutAHostChangesAreDropped) {
    CZQVariableHostAgent agent(nullptr, {});
    agent.Start();
    agent.Enqueue(Name(L"a"), VariableTypeBool, nullptr);

    agent.Stop();

    EXPECT_TRUE(agent.IsGone());
}

} // namespace
} // namespace zq::test
