#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The service's HTTP/1.1 front: asynchronous on a few I/O threads, so an idle or slow peer costs
// a socket and a few kilobytes, never a thread. Every read has a deadline and every size a cap;
// framing it cannot trust is answered 400 and the connection closed. Requests on one connection
// are handled one after the other, so pipelined requests are answered in order.
class HttpServer {
public:
    struct Limits {
        std::size_t headerBytes = 16 * 1024;
        std::size_t headerFields = 100;
        std::chrono::seconds handshakeDeadline{10};
        std::chrono::seconds headerDeadline{10};
        std::chrono::seconds idleDeadline{30}; // between requests on a kept-alive connection
        std::chrono::seconds bodyDeadline{60};
        std::chrono::seconds writeDeadline{60};
        std::size_t connections = 1000;
        std::size_t connectionsPerAddress = 128;
        std::size_t bodyBudget = 64u * 1024 * 1024; // request body bytes held at once, all connections
        std::size_t ioThreads = 2;
    };

    struct Request {
        std::string method;
        std::string path; // the target without its query
        std::string peer; // source address
        std::vector<std::pair<std::string, std::string>> headers;
        std::string body;

        // The first value of a header (names ignore case); empty when absent.
        std::string header(std::string_view name) const;
        std::vector<std::string> headerValues(std::string_view name) const;
    };

    // The far end of a response that stays open (an event stream). Safe to use from any thread.
    class EventStream {
    public:
        virtual ~EventStream() = default;
        // Queues text to go out after what was sent before; dropped once the stream has ended. A
        // peer that falls far behind is cut off.
        virtual void send(std::shared_ptr<const std::string> text) = 0;
        // Ends the stream and closes its connection.
        virtual void close() = 0;
    };

    struct Response {
        int status = 200;
        std::string contentType = "application/json; charset=utf-8";
        std::vector<std::pair<std::string, std::string>> headers;
        // The bytes sent are `body`, kept valid by `owner`: cached replies go out without a copy.
        std::shared_ptr<const void> owner;
        std::string_view body;
        // Set on a response that starts an event stream: its header goes out without a length,
        // then `opened` receives the stream on an I/O thread and `ended` runs once when it ends,
        // whoever ends it. Dropped unopened (the peer left first), it releases what it holds.
        std::function<void(std::shared_ptr<EventStream>)> opened;
        std::function<void()> ended;

        void setBody(std::string text);
    };

    using Completion = std::function<void(Response)>;
    // Called on an I/O thread, so it must not block: it hands the work elsewhere and calls the
    // completion exactly once, from any thread.
    using Handler = std::function<void(Request, Completion)>;
    // The largest body accepted for a path.
    using BodyLimit = std::function<std::size_t(std::string_view path)>;
    // The body of a refusal the server makes itself (400, 404, 413, 431, 503).
    using RefusalBody = std::function<std::string(int status)>;

    HttpServer(Limits limits, Handler handler, BodyLimit bodyLimit, RefusalBody refusal);
    ~HttpServer();
    HttpServer(const HttpServer &) = delete;
    HttpServer &operator=(const HttpServer &) = delete;

    // PEM certificate chain and key; an error text when they cannot be used.
    std::optional<std::string> useTls(const std::string &certFile, const std::string &keyFile);
    // Binds and listens; an error text on failure. Port 0 picks a free one.
    std::optional<std::string> listen(const std::string &address, int port);
    int port() const;
    // Runs fn on an I/O thread every period while the server runs; fn must be quick.
    void every(std::chrono::milliseconds period, std::function<void()> fn);
    // Serves until stop().
    void run();
    void stop();

    // The key connection caps count by: the address, or an IPv6 address's /64 network.
    static std::string addressKey(const std::string &address);

    struct Impl; // defined in the source, where the connections use it

private:
    std::unique_ptr<Impl> impl_;
};
