#include "serve/WebAccess.h"

#include <gtest/gtest.h>

namespace zq::tool {
namespace {

constexpr uint16_t kPort = 4711;
const WebAccess kAccess("0123456789abcdef", kPort);

WebRequest Good() { return {"/0123456789abcdef/live", "127.0.0.1:4711", std::nullopt, true}; }

std::string SentenceFor(const WebRequest& request) {
    const std::optional<WebRefusal> refusal = kAccess.RefusalOf(request);
    return refusal ? refusal->sentence : "";
}

TEST(WebAccess, AnswersItsOwnPage) {
    WebRequest request = Good();
    EXPECT_EQ("", SentenceFor(request));

    request.host = "localhost:4711";
    for (const char* origin : {"http://127.0.0.1:4711", "http://localhost:4711"}) {
        request.origin = origin;
        EXPECT_EQ("", SentenceFor(request)) << origin;
    }
}

TEST(WebAccess, RefusesEveryOtherHost) {
    for (const char* host :
         {"", "127.0.0.1", "127.0.0.1:4712", "127.0.0.1:47110", "127.0.0.1:4711.evil.example",
          "evil.example:4711", "LOCALHOST:4711", "127.0.0.2:4711", "[::1]:4711", " 127.0.0.1:4711"}) {
        WebRequest request = Good();
        request.host = host;
        EXPECT_EQ("The Host header names another server.", SentenceFor(request)) << host;
    }
}

TEST(WebAccess, RefusesEveryOtherOrigin) {
    for (const char* origin :
         {"", "null", "http://127.0.0.1", "http://127.0.0.1:4712", "https://127.0.0.1:4711",
          "http://evil.example:4711", "http://127.0.0.1:4711/", "file://127.0.0.1:4711"}) {
        WebRequest request = Good();
        request.origin = origin;
        EXPECT_EQ("The Origin header names another page.", SentenceFor(request)) << origin;
    }
}

TEST(WebAccess, RefusesOtherMethods) {
    WebRequest request = Good();
    request.isRead = false;

    EXPECT_EQ("Only GET and HEAD are answered.", SentenceFor(request));
    EXPECT_EQ(WebRefusal::Reason::NotAllowed, kAccess.RefusalOf(request)->reason);
}

TEST(WebAccess, RefusesEveryOtherToken) {
    for (const char* target :
         {"", "/", "live", "/live", "//live", "/0123456789abcdef", "/0123456789abcde/live",
          "/0123456789abcdeg/live", "/0123456789abcdef0/live", "/0123456789ABCDEF/live",
          "/x/0123456789abcdef/live", "/?/0123456789abcdef/", "0123456789abcdef/live",
          "/%30123456789abcdef/live", "/../0123456789abcdef/live", "*"}) {
        WebRequest request = Good();
        request.target = target;
        EXPECT_TRUE(SentenceFor(request).starts_with("The token in the address is missing or wrong"))
            << target;
    }
}

TEST(WebAccess, GivesTheRestOfThePathAsItWasSent) {
    EXPECT_EQ("", kAccess.PathAfterToken("/0123456789abcdef/"));
    EXPECT_EQ("page.js", kAccess.PathAfterToken("/0123456789abcdef/page.js?x=/y"));
    // A name that no file of the page has.
    EXPECT_EQ("../../etc/passwd", kAccess.PathAfterToken("/0123456789abcdef/../../etc/passwd"));
    EXPECT_EQ("%2e%2e/page.js", kAccess.PathAfterToken("/0123456789abcdef/%2e%2e/page.js"));
}

TEST(WebAccess, AllowsNoScriptButThePagesOwn) {
    const std::string policy = kAccess.ContentPolicy("abc");

    EXPECT_NE(std::string::npos, policy.find("default-src 'none'; script-src 'self';")) << policy;
    EXPECT_NE(std::string::npos, policy.find("style-src 'self' 'nonce-abc'")) << policy;
    EXPECT_NE(std::string::npos, policy.find("connect-src 'self' ws://127.0.0.1:4711 ws://localhost:4711;"))
        << policy;
    EXPECT_EQ(std::string::npos, policy.find("unsafe")) << policy;
}

TEST(WebAccess, PutsTheNonceInEachMark) {
    EXPECT_EQ("<style nonce=n1>n1", WithNonce("<style nonce=@NONCE@>@NONCE@", "n1"));
    EXPECT_EQ("@NONCE@ @NONCE@", WithNonce("@NONCE@ @NONCE@", "@NONCE@"));
    EXPECT_EQ("nothing", WithNonce("nothing", "n1"));
}

} // namespace
} // namespace zq::tool
