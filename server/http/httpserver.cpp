#include "http/httpserver.h"

#include "http/connectionlimiter.h"
#include "http/httpconnection.h"
#include "http/repeatingtimer.h"
#include "log/servicelog.h"

#include <boost/asio.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>

#include <openssl/ssl.h>

#include <atomic>
#include <thread>

namespace beast = boost::beast;
namespace http = beast::http;
namespace net = boost::asio;
namespace ssl = net::ssl;
using tcp = net::ip::tcp;

namespace {

// TLS 1.2 with forward secrecy and AEAD only, and TLS 1.3 with its defaults.
const char *const tls12Ciphers = "ECDHE-ECDSA-AES128-GCM-SHA256:ECDHE-RSA-AES128-GCM-SHA256:"
                                 "ECDHE-ECDSA-AES256-GCM-SHA384:ECDHE-RSA-AES256-GCM-SHA384:"
                                 "ECDHE-ECDSA-CHACHA20-POLY1305:ECDHE-RSA-CHACHA20-POLY1305";

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
            ServiceLog::line("accept failed: " + ec.message());
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
                std::make_shared<HttpConnection<beast::ssl_stream<beast::tcp_stream>, Impl>>(
                    *this, beast::ssl_stream<beast::tcp_stream>(std::move(socket), *tls), peer,
                    std::move(ticket))
                    ->start();
            else
                std::make_shared<HttpConnection<beast::tcp_stream, Impl>>(
                    *this, beast::tcp_stream(std::move(socket)), peer, std::move(ticket))
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
    auto repeater = std::make_shared<RepeatingTimer>(impl_->ioc, period, std::move(fn));
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
