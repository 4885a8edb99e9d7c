// The network side of the dashboard: one listening port of 127.0.0.1 that serves a few fixed files by HTTP
// and the message protocol by WebSocket, on one thread of its own. It knows neither the module nor the
// folder: what pages ask goes to a Handler, and what they are sent is finished text.
//
// A request is answered only when its path begins with the token, its Host names this server, and its Origin,
// if there is one, is this server's own page. Sizes, connections and times are bounded.
//
// Each connection has a bounded queue (SendQueue.h).
#pragma once

#include "serve/WebText.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace zq::tool {

// A file of the page, built into the program.
struct WebFile {
    std::string_view path; // without a leading slash; empty for the page itself
    std::string_view contentType;
    std::string_view bytes;
    bool isGzip; // otherwise each "@NONCE@" in it is replaced for each response
};

class WebServer {
public:
    // Called on the network's thread, which they must not hold up. Nothing may be thrown.
    class Handler {
    public:
        // SendState is expected for this connection, soon.
        virtual void OnStateWanted(uint64_t connection) = 0;
        // One message of a page, text or binary.
        virtual void OnMessage(uint64_t connection, std::string message, bool isBinary) = 0;

    protected:
        ~Handler() = default;
    };

    struct Options {
        uint16_t port; // 0 for one of the system's choice
        std::string token;
        std::span<const WebFile> files; // must outlive the server
    };

    // Listens, and serves from here on. `handler` must outlive the server. Raises Failure when the port
    // cannot be had.
    WebServer(const Options& options, Handler& handler);
    // Closes all connections in order and ends the thread.
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    uint16_t Port() const;

    // Any thread. To every connection that has had a state older than `sequence`.
    void Broadcast(uint64_t sequence, WebText message);
    // Any thread. The state that OnStateWanted asked for; it includes every broadcast up to `sequence`.
    // Broadcast and SendState must be called in the order of their numbers, so with a lock of the caller
    // held.
    void SendState(uint64_t connection, uint64_t sequence, WebText message);
    // Any thread. An answer, for one connection.
    void Send(uint64_t connection, WebText message);

private:
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace zq::tool
