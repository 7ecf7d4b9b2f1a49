#include "httpserver.h"

#include "connectionlimiter.h"
#include "requestlog.h"

#include <boost/asio.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>

#include <openssl/ssl.h>

#include <atomic>
#include <iostream>
#include <thread>

namespace beast = boost::beast;
namespace http = beast::http;
namespace net = boost::asio;
namespace ssl = net::ssl;
using tcp = net::ip::tcp;

namespace {

using Clock = std::chrono::steady_clock;

// TLS 1.2 with forward secrecy and AEAD only, and TLS 1.3 with its defaults.
const char *const tls12Ciphers = "ECDHE-ECDSA-AES128-GCM-SHA256:ECDHE-RSA-AES128-GCM-SHA256:"
                                 "ECDHE-ECDSA-AES256-GCM-SHA384:ECDHE-RSA-AES256-GCM-SHA384:"
                                 "ECDHE-ECDSA-CHACHA20-POLY1305:ECDHE-RSA-CHACHA20-POLY1305";

// Past this, a refused request's remaining body is not read any more.
constexpr std::size_t drainMax = 64u * 1024 * 1024;

const char *reason(int status) {
    return http::obsolete_reason(http::int_to_status(unsigned(status))).data();
}

bool quietEnd(const beast::error_code &ec) {
    return ec == http::error::end_of_stream || ec == net::error::eof || ec == beast::error::timeout ||
           ec == net::error::connection_reset || ec == net::error::operation_aborted ||
           ec == http::error::partial_message || ec == ssl::error::stream_truncated;
}

} // namespace

std::string HttpServer::Request::header(std::string_view name) const {
    for (const auto &[key, value] : headers)
        if (beast::iequals(key, name))
            return value;
    return {};
}

std::vector<std::string> HttpServer::Request::headerValues(std::string_view name) const {
    std::vector<std::string> out;
    for (const auto &[key, value] : headers)
        if (beast::iequals(key, name))
            out.push_back(value);
    return out;
}

void HttpServer::Response::setBody(std::string text) {
    auto owned = std::make_shared<const std::string>(std::move(text));
    body = *owned;
    owner = std::move(owned);
}

std::string HttpServer::addressKey(const std::string &address) {
    beast::error_code ec;
    auto ip = net::ip::make_address(address, ec);
    if (ec)
        return address;
    if (ip.is_v6() && ip.to_v6().is_v4_mapped())
        ip = net::ip::make_address_v4(net::ip::v4_mapped, ip.to_v6());
    if (ip.is_v4())
        return ip.to_string();
    auto bytes = ip.to_v6().to_bytes();
    std::fill(bytes.begin() + 8, bytes.end(), 0);
    return net::ip::address_v6(bytes).to_string() + "/64";
}

struct HttpServer::Impl {
    Impl(Limits l, Handler h, BodyLimit b, RefusalBody r)
        : limits(l), handler(std::move(h)), bodyLimit(std::move(b)), refusal(std::move(r)),
          ioc(int(std::max<std::size_t>(1, l.ioThreads))), acceptor(ioc),
          limiter(l.connections, l.connectionsPerAddress) {}

    void accept();
    void refuseConnection(tcp::socket &socket);
    Response refusalResponse(int status) const {
        Response r;
        r.status = status;
        r.setBody(refusal(status));
        return r;
    }
    // Reserves body memory from the shared budget; false when it is spent.
    bool reserveBody(std::size_t bytes) {
        auto held = bodyBytes.load();
        do {
            if (held + bytes > limits.bodyBudget)
                return false;
        } while (!bodyBytes.compare_exchange_weak(held, held + bytes));
        return true;
    }

    Limits limits;
    Handler handler;
    BodyLimit bodyLimit;
    RefusalBody refusal;
    net::io_context ioc;
    std::optional<ssl::context> tls;
    tcp::acceptor acceptor;
    ConnectionLimiter limiter;
    std::atomic<std::size_t> bodyBytes{0};
    std::unique_ptr<net::steady_timer> acceptPause;
    int port = 0;
};

namespace {

// One connection. Everything it does runs on its own strand.
template <class Stream> class Connection : public std::enable_shared_from_this<Connection<Stream>> {
public:
    Connection(HttpServer::Impl &server, Stream stream, std::string peer,
               std::unique_ptr<ConnectionLimiter::Ticket> ticket)
        : server_(server), stream_(std::move(stream)), peer_(std::move(peer)), ticket_(std::move(ticket)) {}

    ~Connection() { releaseBody(); }

    void start() {
        if constexpr (isTls) {
            lowest().expires_after(server_.limits.handshakeDeadline);
            stream_.async_handshake(ssl::stream_base::server,
                                    [self = this->shared_from_this()](beast::error_code ec) {
                                        if (ec)
                                            return self->close();
                                        self->readNext();
                                    });
        } else {
            readNext();
        }
    }

private:
    static constexpr bool isTls = !std::is_same_v<Stream, beast::tcp_stream>;

    beast::tcp_stream &lowest() { return beast::get_lowest_layer(stream_); }

    void readNext() {
        parser_.emplace();
        parser_->header_limit(std::uint32_t(server_.limits.headerBytes));
        parser_->body_limit(std::numeric_limits<std::uint64_t>::max()); // decided once the path is known
        method_ = "-";
        path_ = "-";
        // Between requests a quiet peer may wait longer; once its first byte is in, the header
        // deadline runs.
        if (served_ > 0 && buffer_.size() == 0) {
            lowest().expires_after(server_.limits.idleDeadline);
            stream_.async_read_some(buffer_.prepare(4096),
                                    [self = this->shared_from_this()](beast::error_code ec, std::size_t n) {
                                        if (ec)
                                            return self->close();
                                        self->buffer_.commit(n);
                                        self->readHeader();
                                    });
            return;
        }
        readHeader();
    }

    void readHeader() {
        started_ = Clock::now();
        lowest().expires_after(server_.limits.headerDeadline);
        http::async_read_header(
            stream_, buffer_, *parser_,
            [self = this->shared_from_this()](beast::error_code ec, std::size_t) { self->onHeader(ec); });
    }

    void onHeader(beast::error_code ec) {
        if (ec == http::error::header_limit)
            return refuse(431);
        if (ec == http::error::end_of_stream || (ec && quietEnd(ec) && buffer_.size() == 0))
            return close();
        if (ec)
            return quietEnd(ec) ? close() : refuse(400);
        const auto &req = parser_->get();
        method_ = std::string(req.method_string());
        const auto target = req.target();
        path_ = std::string(target.substr(0, target.find('?')));
        if (std::size_t(std::distance(req.begin(), req.end())) > server_.limits.headerFields)
            return refuse(431);
        // Only plain chunking is understood; a body in any other coding has no length we can trust.
        if (const auto codings = req.count(http::field::transfer_encoding);
            codings > 1 || (codings == 1 && !beast::iequals(req[http::field::transfer_encoding], "chunked")))
            return refuse(400);
        const std::size_t limit = server_.bodyLimit(path_);
        const auto length = parser_->content_length();
        if (length && *length > limit)
            return refuse(413);
        parser_->body_limit(limit);
        const std::size_t need = length ? std::size_t(*length) : (parser_->chunked() ? limit : 0);
        if (need > 0) {
            if (!server_.reserveBody(need))
                return refuse(503);
            reserved_ = need;
        }
        if (parser_->is_done())
            return dispatch();
        lowest().expires_after(server_.limits.bodyDeadline);
        http::async_read(stream_, buffer_, *parser_,
                         [self = this->shared_from_this()](beast::error_code ec, std::size_t) {
                             if (ec == http::error::body_limit)
                                 return self->refuse(413);
                             if (ec)
                                 return quietEnd(ec) ? self->close() : self->refuse(400);
                             self->dispatch();
                         });
    }

    void dispatch() {
        auto message = parser_->release();
        HttpServer::Request request;
        request.method = method_;
        request.path = path_;
        request.peer = peer_;
        for (const auto &field : message)
            request.headers.emplace_back(std::string(field.name_string()), std::string(field.value()));
        request.body = std::move(message.body());
        keepAlive_ = message.keep_alive();
        lowest().expires_never(); // the handler takes what it takes; writing has its own deadline
        auto self = this->shared_from_this();
        server_.handler(std::move(request), [self](HttpServer::Response response) {
            net::post(self->stream_.get_executor(),
                      [self, response = std::move(response)]() mutable { self->write(std::move(response)); });
        });
    }

    void refuse(int status) {
        keepAlive_ = false;
        drain_ = status == 413 || status == 400;
        write(server_.refusalResponse(status));
    }

    void write(HttpServer::Response response) {
        releaseBody();
        RequestLog::write(method_, path_, response.status, started_);
        auto &res = response_.emplace();
        res.version(11);
        res.result(unsigned(response.status));
        res.reason(reason(response.status));
        res.set(http::field::content_type, response.contentType);
        for (const auto &[name, value] : response.headers)
            res.insert(name, value);
        owner_ = std::move(response.owner);
        res.body() = http::span_body<const char>::value_type(response.body.data(), response.body.size());
        res.keep_alive(keepAlive_);
        res.prepare_payload();
        lowest().expires_after(server_.limits.writeDeadline);
        http::async_write(stream_, res, [self = this->shared_from_this()](beast::error_code ec, std::size_t) {
            self->owner_.reset();
            self->response_.reset();
            if (ec)
                return self->close();
            ++self->served_;
            if (!self->keepAlive_)
                return self->drain_ ? self->drain() : self->close();
            self->readNext();
        });
    }

    // After a refusal the peer may still be sending; reading on for a moment lets it hear the answer
    // instead of a reset.
    void drain() {
        beast::error_code ignored;
        if constexpr (!isTls)
            lowest().socket().shutdown(tcp::socket::shutdown_send, ignored);
        lowest().expires_after(std::chrono::seconds(2));
        drainMore();
    }

    void drainMore() {
        discard_.resize(64 * 1024);
        stream_.async_read_some(net::buffer(discard_),
                                [self = this->shared_from_this()](beast::error_code ec, std::size_t n) {
                                    self->drained_ += n;
                                    if (ec || self->drained_ > drainMax)
                                        return self->close();
                                    self->drainMore();
                                });
    }

    void close() {
        beast::error_code ignored;
        if constexpr (isTls) {
            if (!closing_ && served_ > 0) {
                closing_ = true;
                lowest().expires_after(std::chrono::seconds(2));
                stream_.async_shutdown([self = this->shared_from_this()](beast::error_code) {
                    beast::error_code ignored;
                    self->lowest().socket().close(ignored);
                });
                return;
            }
        } else {
            lowest().socket().shutdown(tcp::socket::shutdown_both, ignored);
        }
        lowest().socket().close(ignored);
    }

    void releaseBody() {
        if (reserved_ > 0)
            server_.bodyBytes -= reserved_;
        reserved_ = 0;
    }

    HttpServer::Impl &server_;
    Stream stream_;
    std::string peer_;
    std::unique_ptr<ConnectionLimiter::Ticket> ticket_;
    beast::flat_buffer buffer_;
    std::optional<http::request_parser<http::string_body>> parser_;
    std::optional<http::response<http::span_body<const char>>> response_;
    std::shared_ptr<const void> owner_;
    std::vector<char> discard_;
    std::string method_ = "-";
    std::string path_ = "-";
    Clock::time_point started_ = Clock::now();
    std::size_t reserved_ = 0;
    std::size_t served_ = 0;
    std::size_t drained_ = 0;
    bool keepAlive_ = true;
    bool drain_ = false;
    bool closing_ = false;
};

// Runs a task every period until the I/O context stops.
class Repeater : public std::enable_shared_from_this<Repeater> {
public:
    Repeater(net::io_context &ioc, std::chrono::milliseconds period, std::function<void()> task)
        : timer_(ioc), period_(period), task_(std::move(task)) {}

    void arm() {
        timer_.expires_after(period_);
        timer_.async_wait([self = shared_from_this()](beast::error_code ec) {
            if (ec)
                return;
            self->task_();
            self->arm();
        });
    }

private:
    net::steady_timer timer_;
    std::chrono::milliseconds period_;
    std::function<void()> task_;
};

} // namespace

void HttpServer::Impl::refuseConnection(tcp::socket &socket) {
    beast::error_code ignored;
    if (!tls) {
        // A fresh socket's send buffer takes this at once; nothing waits on the peer.
        const std::string body = refusal(503);
        const std::string head = "HTTP/1.1 503 Service Unavailable\r\nContent-Type: application/json; "
                                 "charset=utf-8\r\nConnection: close\r\nContent-Length: " +
                                 std::to_string(body.size()) + "\r\n\r\n";
        socket.non_blocking(true, ignored);
        socket.write_some(std::array{net::buffer(head), net::buffer(body)}, ignored);
    }
    socket.shutdown(tcp::socket::shutdown_both, ignored);
    socket.close(ignored);
}

void HttpServer::Impl::accept() {
    acceptor.async_accept(net::make_strand(ioc), [this](beast::error_code ec, tcp::socket socket) {
        if (ec == net::error::operation_aborted)
            return;
        if (ec) {
            // Out of descriptors, most likely: pause instead of spinning on the error.
            std::cout << "quillora-cloud: accept failed: " << ec.message() << std::endl;
            acceptPause = std::make_unique<net::steady_timer>(ioc, std::chrono::milliseconds(100));
            acceptPause->async_wait([this](beast::error_code e) {
                if (!e)
                    accept();
            });
            return;
        }
        beast::error_code endpointError;
        const auto peer = socket.remote_endpoint(endpointError).address().to_string();
        auto ticket = endpointError ? nullptr : limiter.acquire(addressKey(peer));
        if (!ticket) {
            refuseConnection(socket);
        } else {
            socket.set_option(tcp::no_delay(true), endpointError);
            if (tls)
                std::make_shared<Connection<beast::ssl_stream<beast::tcp_stream>>>(
                    *this, beast::ssl_stream<beast::tcp_stream>(std::move(socket), *tls), peer,
                    std::move(ticket))
                    ->start();
            else
                std::make_shared<Connection<beast::tcp_stream>>(*this, beast::tcp_stream(std::move(socket)),
                                                                peer, std::move(ticket))
                    ->start();
        }
        accept();
    });
}

HttpServer::HttpServer(Limits limits, Handler handler, BodyLimit bodyLimit, RefusalBody refusal)
    : impl_(std::make_unique<Impl>(limits, std::move(handler), std::move(bodyLimit), std::move(refusal))) {}

HttpServer::~HttpServer() {
    stop();
}

std::optional<std::string> HttpServer::useTls(const std::string &certFile, const std::string &keyFile) {
    ssl::context ctx(ssl::context::tls_server);
    ctx.set_options(ssl::context::default_workarounds | ssl::context::no_sslv2 | ssl::context::no_sslv3 |
                    ssl::context::no_tlsv1 | ssl::context::no_tlsv1_1 | ssl::context::no_compression |
                    ssl::context::single_dh_use);
    SSL_CTX_set_options(ctx.native_handle(), SSL_OP_CIPHER_SERVER_PREFERENCE | SSL_OP_NO_RENEGOTIATION);
    SSL_CTX_set_min_proto_version(ctx.native_handle(), TLS1_2_VERSION);
    if (SSL_CTX_set_cipher_list(ctx.native_handle(), tls12Ciphers) != 1)
        return "the TLS cipher list is not supported";
    beast::error_code ec;
    ctx.use_certificate_chain_file(certFile, ec);
    if (!ec)
        ctx.use_private_key_file(keyFile, ssl::context::pem, ec);
    if (ec)
        return "cannot use the TLS certificate or key: " + ec.message();
    impl_->tls.emplace(std::move(ctx));
    return std::nullopt;
}

std::optional<std::string> HttpServer::listen(const std::string &address, int port) {
    beast::error_code ec;
    const auto ip = net::ip::make_address(address, ec);
    if (ec)
        return "bad listen address " + address;
    const tcp::endpoint endpoint(ip, static_cast<unsigned short>(port));
    auto &a = impl_->acceptor;
    a.open(endpoint.protocol(), ec);
    if (!ec)
        a.set_option(net::socket_base::reuse_address(true), ec);
    if (!ec)
        a.bind(endpoint, ec);
    if (!ec)
        a.listen(net::socket_base::max_listen_connections, ec);
    if (ec)
        return ec.message();
    impl_->port = a.local_endpoint().port();
    return std::nullopt;
}

int HttpServer::port() const {
    return impl_->port;
}

void HttpServer::every(std::chrono::milliseconds period, std::function<void()> fn) {
    auto repeater = std::make_shared<Repeater>(impl_->ioc, period, std::move(fn));
    repeater->arm();
}

void HttpServer::run() {
    impl_->accept();
    std::vector<std::thread> threads;
    for (std::size_t i = 1; i < impl_->limits.ioThreads; ++i)
        threads.emplace_back([this] { impl_->ioc.run(); });
    impl_->ioc.run();
    for (auto &t : threads)
        t.join();
}

void HttpServer::stop() {
    impl_->ioc.stop();
}
