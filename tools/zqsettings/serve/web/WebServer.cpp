#include "serve/web/WebServer.h"

#include "Failure.h"
#include "serve/RandomText.h"
#include "serve/SendQueue.h"
#include "serve/WebAccess.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>

#include <array>
#include <atomic>
#include <chrono>
#include <map>
#include <optional>
#include <thread>

namespace zq::tool {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using tcp = asio::ip::tcp;
using ErrorCode = beast::error_code;

constexpr size_t kMostConnections = 256;
constexpr size_t kMostHeaderBytes = size_t{8} * 1024;
constexpr size_t kMostMessageBytes = size_t{16} * 1024 * 1024;
constexpr size_t kMostDiscardedBytes = size_t{1024} * 1024;
constexpr std::chrono::seconds kHttpTimeout(15);

using Request = http::request<http::empty_body>;
using Response = http::response<http::string_body>;

std::string_view View(beast::string_view text) { return {text.data(), text.size()}; }

// What all responses and connections need to know of the server.
struct Site {
    std::span<const WebFile> files;
    WebServer::Handler& handler;
    WebAccess access;
};

void SetSecurityHeaders(Response& response, const Site& site, const std::string& nonce) {
    response.set("Content-Security-Policy", site.access.ContentPolicy(nonce));
    response.set("X-Content-Type-Options", "nosniff");
    response.set("Referrer-Policy", "no-referrer");
    response.set("Cross-Origin-Opener-Policy", "same-origin");
    response.set("Cross-Origin-Resource-Policy", "same-origin");
    response.set(http::field::cache_control, "no-store");
}

Response MakeResponse(const Site& site, http::status status, unsigned version, bool isKept) {
    Response response(status, version);
    SetSecurityHeaders(response, site, RandomHex());
    response.set(http::field::content_type, "text/plain; charset=utf-8");
    response.keep_alive(isKept);
    return response;
}

Response Refusal(const Site& site, const Request& request, http::status status, const std::string& sentence) {
    Response response = MakeResponse(site, status, request.version(), false);
    if (status == http::status::method_not_allowed) {
        response.set(http::field::allow, "GET, HEAD");
    }
    response.body() = sentence + "\n";
    response.prepare_payload();
    return response;
}

// Why a request is not answered; nothing where it may be.
std::optional<Response> RefusalOf(const Site& site, const Request& request) {
    WebRequest asked{View(request.target()), {}, {}, false};
    if (request.count(http::field::host) == 1) {
        asked.host = View(request[http::field::host]);
    }
    if (request.count(http::field::origin) != 0) {
        asked.origin = View(request[http::field::origin]);
    }
    asked.isRead = request.method() == http::verb::get || request.method() == http::verb::head;
    const std::optional<WebRefusal> refusal = site.access.RefusalOf(asked);
    if (!refusal) {
        return {};
    }
    const bool isNotAllowed = refusal->reason == WebRefusal::Reason::NotAllowed;
    return Refusal(site, request, isNotAllowed ? http::status::method_not_allowed : http::status::forbidden,
                   refusal->sentence);
}

Response ServeFile(const Site& site, const Request& request) {
    const std::string_view path = site.access.PathAfterToken(View(request.target())).value_or("");
    for (const WebFile& file : site.files) {
        if (file.path != path) {
            continue;
        }
        const std::string nonce = RandomHex();
        Response response = MakeResponse(site, http::status::ok, request.version(), request.keep_alive());
        SetSecurityHeaders(response, site, nonce);
        response.set(http::field::content_type, {file.contentType.data(), file.contentType.size()});
        if (file.isGzip) {
            response.set(http::field::content_encoding, "gzip");
        }
        std::string body = file.isGzip ? std::string(file.bytes) : WithNonce(file.bytes, nonce);
        const size_t size = body.size();
        if (request.method() == http::verb::get) {
            response.body() = std::move(body);
        }
        response.content_length(size);
        return response;
    }
    return Refusal(site, request, http::status::not_found, "There is no such file.");
}

class LiveConnection;

// The connections of the protocol, by number. Used on the network's thread only.
struct OpenConnections {
    std::map<uint64_t, std::shared_ptr<LiveConnection>> live;
    uint64_t lastNumber = 0;
    std::atomic<size_t> open = 0; // of all kinds
};

// Counts a connection as long as it lives.
class OpenCount {
public:
    explicit OpenCount(OpenConnections& connections) : m_connections(connections) { ++m_connections.open; }
    ~OpenCount() { --m_connections.open; }
    OpenCount(const OpenCount&) = delete;
    OpenCount& operator=(const OpenCount&) = delete;

private:
    OpenConnections& m_connections;
};

class LiveConnection : public std::enable_shared_from_this<LiveConnection> {
public:
    LiveConnection(tcp::socket&& socket, Site& site, OpenConnections& connections)
        : m_stream(std::move(socket)), m_site(site), m_connections(connections), m_count(connections) {}

    void Accept(const Request& request) {
        m_stream.set_option(websocket::stream_base::timeout::suggested(beast::role_type::server));
        m_stream.read_message_max(kMostMessageBytes);
        m_stream.async_accept(request, [self = shared_from_this()](ErrorCode error) {
            if (!error) {
                self->Begin();
            }
        });
    }

    void Broadcast(uint64_t sequence, const WebText& message) {
        m_queue.AddBroadcast(sequence, message);
        WriteNext();
    }

    void SendState(uint64_t sequence, const WebText& message) {
        m_queue.AddState(sequence, message);
        WriteNext();
    }

    void Send(const WebText& message) {
        if (m_queue.AddAnswer(message)) {
            WriteNext();
        } else {
            Close(websocket::close_code::policy_error);
        }
    }

    void Close(websocket::close_code code) {
        if (!m_isClosing) {
            m_isClosing = true;
            m_stream.async_close(code, [self = shared_from_this()](ErrorCode) { self->Forget(); });
        }
    }

private:
    void Begin() {
        m_number = ++m_connections.lastNumber;
        m_connections.live.emplace(m_number, shared_from_this());
        Read();
        m_site.handler.OnStateWanted(m_number);
    }

    void Forget() {
        m_queue.Clear();
        m_connections.live.erase(m_number);
    }

    void Read() {
        m_stream.async_read(m_incoming, [self = shared_from_this()](ErrorCode error, size_t) {
            if (error) {
                self->Forget();
                return;
            }
            std::string message = beast::buffers_to_string(self->m_incoming.data());
            self->m_incoming = {};
            self->m_site.handler.OnMessage(self->m_number, std::move(message), self->m_stream.got_binary());
            self->Read();
        });
    }

    void WriteNext() {
        const WebText text = m_queue.Next();
        if (!text) {
            return;
        }
        m_stream.text(true);
        m_stream.async_write(asio::buffer(*text), [self = shared_from_this(), text](ErrorCode error, size_t) {
            if (error) {
                self->Forget();
            } else {
                self->OnWritten();
            }
        });
    }

    void OnWritten() {
        m_queue.OnWritten();
        WriteNext();
        if (m_queue.TakeStateWanted()) {
            m_site.handler.OnStateWanted(m_number);
        }
    }

    websocket::stream<beast::tcp_stream> m_stream;
    Site& m_site;
    OpenConnections& m_connections;
    OpenCount m_count;
    uint64_t m_number = 0;
    beast::flat_buffer m_incoming;
    SendQueue m_queue;
    bool m_isClosing = false;
};

class HttpConnection : public std::enable_shared_from_this<HttpConnection> {
public:
    HttpConnection(tcp::socket&& socket, Site& site, OpenConnections& connections)
        : m_stream(std::move(socket)), m_site(site), m_connections(connections), m_count(connections) {}

    void Read() {
        m_parser.emplace();
        m_parser->header_limit(kMostHeaderBytes);
        m_parser->body_limit(0);
        m_stream.expires_after(kHttpTimeout);
        http::async_read(m_stream, m_buffer, *m_parser, [self = shared_from_this()](ErrorCode error, size_t) {
            error ? self->OnBadRequest(error) : self->OnRequest();
        });
    }

private:
    void OnBadRequest(ErrorCode error) {
        if (error == http::error::header_limit || error == http::error::buffer_overflow) {
            Answer(Refusal(m_site, {}, http::status::request_header_fields_too_large,
                           "The request is too long."));
        } else if (error == http::error::body_limit || error == http::error::unexpected_body) {
            Answer(Refusal(m_site, {}, http::status::payload_too_large, "A request must have no body."));
        } else if (error.category() == http::make_error_code(http::error::bad_method).category() &&
                   error != http::error::end_of_stream) {
            Answer(Refusal(m_site, {}, http::status::bad_request, "This is no HTTP request."));
        }
    }

    void OnRequest() {
        const Request& request = m_parser->get();
        if (std::optional<Response> refusal = RefusalOf(m_site, request)) {
            Answer(std::move(*refusal));
        } else if (!websocket::is_upgrade(request)) {
            Answer(ServeFile(m_site, request));
        } else if (m_site.access.PathAfterToken(View(request.target())) != "live") {
            Answer(Refusal(m_site, request, http::status::not_found, "There is no such WebSocket."));
        } else {
            m_stream.expires_never();
            std::make_shared<LiveConnection>(m_stream.release_socket(), m_site, m_connections)
                ->Accept(request);
        }
    }

    void Answer(Response&& response) {
        m_response.emplace(std::move(response));
        http::async_write(m_stream, *m_response, [self = shared_from_this()](ErrorCode error, size_t) {
            if (!error && self->m_response->keep_alive()) {
                self->Read();
            } else {
                ErrorCode ignored;
                self->m_stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
                self->m_stream.expires_after(kHttpTimeout);
                self->DiscardRest();
            }
        });
    }

    // Closing a socket that has unread data resets the connection, and the client may lose the answer. So
    // what it is still sending is read until it closes its side as well.
    void DiscardRest() {
        m_stream.async_read_some(asio::buffer(m_discarded),
                                 [self = shared_from_this()](ErrorCode error, size_t count) {
                                     self->m_discardedBytes += count;
                                     if (!error && self->m_discardedBytes < kMostDiscardedBytes) {
                                         self->DiscardRest();
                                     }
                                 });
    }

    beast::tcp_stream m_stream;
    beast::flat_buffer m_buffer{kMostHeaderBytes};
    std::array<char, 4096> m_discarded;
    size_t m_discardedBytes = 0;
    std::optional<http::request_parser<http::empty_body>> m_parser;
    std::optional<Response> m_response;
    Site& m_site;
    OpenConnections& m_connections;
    OpenCount m_count;
};

} // namespace

class WebServer::Implementation {
public:
    Implementation(const Options& options, Handler& handler) : m_acceptor(m_context) {
        Listen(options.port);
        m_site.emplace(Site{options.files, handler, WebAccess(options.token, Port())});
        Accept();
        m_thread = std::thread([this] { m_context.run(); });
    }

    ~Implementation() {
        asio::post(m_context, [this] { CloseAll(); });
        m_thread.join();
    }

    uint16_t Port() const { return m_port; }

    void Broadcast(uint64_t sequence, WebText message) {
        asio::post(m_context, [this, sequence, message = std::move(message)] {
            for (const auto& [number, connection] : m_connections.live) {
                connection->Broadcast(sequence, message);
            }
        });
    }

    template <class Action>
    void WithConnection(uint64_t number, Action action) {
        asio::post(m_context, [this, number, action = std::move(action)] {
            const auto found = m_connections.live.find(number);
            if (found != m_connections.live.end()) {
                // A copy: the action may end the connection.
                const std::shared_ptr<LiveConnection> connection = found->second;
                action(*connection);
            }
        });
    }

private:
    void Listen(uint16_t port) {
        try {
            const tcp::endpoint endpoint(asio::ip::address_v4::loopback(), port);
            m_acceptor.open(endpoint.protocol());
            // Nobody else may listen on the same port beside this server.
            const asio::detail::socket_option::boolean<SOL_SOCKET, SO_EXCLUSIVEADDRUSE> exclusive(true);
            m_acceptor.set_option(exclusive);
            m_acceptor.bind(endpoint);
            m_acceptor.listen();
            m_port = m_acceptor.local_endpoint().port();
        } catch (const boost::system::system_error&) {
            throw Failure(port == 0 ? "no port of 127.0.0.1 can be had"
                                    : "port " + std::to_string(port) +
                                          " of 127.0.0.1 is in use; give another one with --port");
        }
    }

    void Accept() {
        m_acceptor.async_accept(m_context, [this](ErrorCode error, tcp::socket socket) {
            if (!m_acceptor.is_open()) {
                return;
            }
            if (!error && m_connections.open < kMostConnections) {
                ErrorCode ignored;
                socket.set_option(tcp::no_delay(true), ignored);
                std::make_shared<HttpConnection>(std::move(socket), *m_site, m_connections)->Read();
            }
            Accept();
        });
    }

    void CloseAll() {
        ErrorCode ignored;
        m_acceptor.close(ignored);
        const auto live = m_connections.live;
        for (const auto& [number, connection] : live) {
            connection->Close(websocket::close_code::going_away);
        }
        // Pages answer at once or never.
        m_ending.expires_after(std::chrono::milliseconds(500));
        m_ending.async_wait([this](ErrorCode) { m_context.stop(); });
        StopWhenClosed();
    }

    void StopWhenClosed() {
        if (m_connections.live.empty()) {
            m_context.stop();
            return;
        }
        m_look.expires_after(std::chrono::milliseconds(10));
        m_look.async_wait([this](ErrorCode) { StopWhenClosed(); });
    }

    // Before the context, whose pending operations hold connections that count themselves.
    OpenConnections m_connections;
    asio::io_context m_context{1};
    std::optional<Site> m_site; // once the port is known
    uint16_t m_port = 0;
    tcp::acceptor m_acceptor;
    asio::steady_timer m_ending{m_context};
    asio::steady_timer m_look{m_context};
    std::thread m_thread;
};

WebServer::WebServer(const Options& options, Handler& handler)
    : m_implementation(std::make_unique<Implementation>(options, handler)) {}

WebServer::~WebServer() = default;

uint16_t WebServer::Port() const { return m_implementation->Port(); }

void WebServer::Broadcast(uint64_t sequence, WebText message) {
    m_implementation->Broadcast(sequence, std::move(message));
}

void WebServer::SendState(uint64_t connection, uint64_t sequence, WebText message) {
    m_implementation->WithConnection(connection,
                                     [sequence, message = std::move(message)](LiveConnection& live) {
                                         live.SendState(sequence, message);
                                     });
}

void WebServer::Send(uint64_t connection, WebText message) {
    m_implementation->WithConnection(
        connection, [message = std::move(message)](LiveConnection& live) { live.Send(message); });
}

} // namespace zq::tool
