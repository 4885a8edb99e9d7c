// Who is answered: the rules for a request, as texts, without the network. What a page may load is one of
// them.
//
// Any thread; nothing changes after the construction.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zq::tool {

// What of a request decides whether it is answered.
struct WebRequest {
    std::string_view target; // as it was sent
    std::string_view host;   // the Host header; of several or none, nothing
    std::optional<std::string_view> origin;
    bool isRead = true; // GET or HEAD
};

struct WebRefusal {
    enum class Reason { Forbidden, NotAllowed };

    Reason reason;
    const char* sentence;
};

class WebAccess {
public:
    // `token` must be in the path of each request; `port` is that of this server.
    WebAccess(std::string token, uint16_t port) : m_token(std::move(token)), m_port(port) {}

    // Why a request is not answered; nothing where it may be.
    std::optional<WebRefusal> RefusalOf(const WebRequest& request) const;
    // The part of the path after the token and its slash; nothing where the token is another one.
    std::optional<std::string_view> PathAfterToken(std::string_view target) const;
    // The Content-Security-Policy of a response. The one inline style sheet has `nonce`.
    std::string ContentPolicy(const std::string& nonce) const;

private:
    bool IsOwnHost(std::string_view host) const;
    bool IsOwnOrigin(std::string_view origin) const;

    std::string m_token;
    uint16_t m_port;
};

// The text with `nonce` in place of each "@NONCE@".
std::string WithNonce(std::string_view text, const std::string& nonce);

} // namespace zq::tool
