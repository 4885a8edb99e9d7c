#include "serve/WebAccess.h"

namespace zq::tool {

namespace {

// Takes the same time wherever the texts differ.
bool IsSameSecret(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) {
        return false;
    }
    unsigned difference = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        difference |= static_cast<unsigned char>(a[i]) ^ static_cast<unsigned char>(b[i]);
    }
    return difference == 0;
}

} // namespace

std::optional<WebRefusal> WebAccess::RefusalOf(const WebRequest& request) const {
    using Reason = WebRefusal::Reason;
    if (!IsOwnHost(request.host)) {
        return WebRefusal{Reason::Forbidden, "The Host header names another server."};
    }
    if (request.origin && !IsOwnOrigin(*request.origin)) {
        return WebRefusal{Reason::Forbidden, "The Origin header names another page."};
    }
    if (!request.isRead) {
        return WebRefusal{Reason::NotAllowed, "Only GET and HEAD are answered."};
    }
    if (!PathAfterToken(request.target)) {
        return WebRefusal{
            Reason::Forbidden,
            "The token in the address is missing or wrong; use the address that zqsettings printed."};
    }
    return {};
}

std::optional<std::string_view> WebAccess::PathAfterToken(std::string_view target) const {
    const std::string_view path = target.substr(0, target.find('?'));
    const size_t slash = path.find('/', 1);
    if (!path.starts_with('/') || slash == std::string_view::npos ||
        !IsSameSecret(path.substr(1, slash - 1), m_token)) {
        return {};
    }
    return path.substr(slash + 1);
}

std::string WebAccess::ContentPolicy(const std::string& nonce) const {
    const std::string port = std::to_string(m_port);
    return "default-src 'none'; script-src 'self'; style-src 'self' 'nonce-" + nonce +
           "'; img-src 'self' data:; connect-src 'self' ws://127.0.0.1:" + port + " ws://localhost:" + port +
           "; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
}

bool WebAccess::IsOwnHost(std::string_view host) const {
    const std::string suffix = ':' + std::to_string(m_port);
    return host == "127.0.0.1" + suffix || host == "localhost" + suffix;
}

bool WebAccess::IsOwnOrigin(std::string_view origin) const {
    constexpr std::string_view kScheme = "http://";
    return origin.starts_with(kScheme) && IsOwnHost(origin.substr(kScheme.size()));
}

std::string WithNonce(std::string_view text, const std::string& nonce) {
    constexpr std::string_view kMark = "@NONCE@";
    std::string result(text);
    for (size_t at = result.find(kMark); at != std::string::npos;
         at = result.find(kMark, at + nonce.size())) {
        result.replace(at, kMark.size(), nonce);
    }
    return result;
}

} // namespace zq::tool
