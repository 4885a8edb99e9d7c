// What a page may ask (docs/dashboard.md), and the answers. Questions of one page are answered in their
// order, except that those which write or take long have a thread of their own.
#pragma once

#include "serve/Dashboard.h"
#include "serve/WorkQueue.h"
#include "serve/web/WebServer.h"

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace zq::tool {

class Questions final : public WebServer::Handler {
public:
    // `dashboard` must outlive this.
    explicit Questions(Dashboard& dashboard) : m_dashboard(dashboard) {}

    // Where answers go; null for nowhere.
    void SetServer(WebServer* server);

    void OnStateWanted(uint64_t connection) override;
    void OnMessage(uint64_t connection, std::string message, bool isBinary) override;

private:
    void Answer(uint64_t connection, std::string text);
    void AnswerText(uint64_t connection, const std::string& message);

    Dashboard& m_dashboard;
    std::mutex m_mutex;
    WebServer* m_server = nullptr;
    // The last members: their threads use all of the above.
    WorkQueue m_quick;
    WorkQueue m_slow;
};

} // namespace zq::tool
