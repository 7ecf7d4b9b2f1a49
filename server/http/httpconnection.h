#pragma once

#include "http/connectionlimiter.h"
#include "http/httpserver.h"
#include "log/servicelog.h"

#include <boost/asio.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>

#include <chrono>
#include <cstdio>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

// One connection of HttpServer (Server is its implementation, which holds the limits, the handler
// and the shared budgets). Everything it does runs on its own strand.
template <class Stream, class Server>
class HttpConnection : public std::enable_shared_from_this<HttpConnection<Stream, Server>> {
public:
    HttpConnection(Server &server, Stream stream, std::string peer,
                   std::unique_ptr<ConnectionLimiter::Ticket> ticket)
        : server_(server), stream_(std::move(stream)), peer_(std::move(peer)), ticket_(std::move(ticket)) {}

    ~HttpConnection() { releaseBody(); }

    void start() {
        if constexpr (isTls) {
            lowest().expires_after(server_.limits.handshakeDeadline);
            stream_.async_handshake(boost::asio::ssl::stream_base::server,
                                    [self = this->shared_from_this()](boost::beast::error_code ec) {
                                        if (ec)
                                            return self->close();
                                        self->readNext();
                                    });
        } else {
            readNext();
        }
    }

private:
    using Clock = std::chrono::steady_clock;
    // Past this, a refused request's remaining body is not read any more.
    static constexpr std::size_t drainMax = 64u * 1024 * 1024;

    // Ends that need no answer: the peer left, went quiet or cut its message short.
    static bool quietEnd(const boost::beast::error_code &ec) {
        namespace http = boost::beast::http;
        return ec == http::error::end_of_stream || ec == boost::asio::error::eof ||
               ec == boost::beast::error::timeout || ec == boost::asio::error::connection_reset ||
               ec == boost::asio::error::operation_aborted || ec == http::error::partial_message ||
               ec == boost::asio::ssl::error::stream_truncated;
    }
    static constexpr bool isTls = !std::is_same_v<Stream, boost::beast::tcp_stream>;

    boost::beast::tcp_stream &lowest() { return boost::beast::get_lowest_layer(stream_); }

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
            stream_.async_read_some(buffer_.prepare(4096), [self = this->shared_from_this()](
                                                               boost::beast::error_code ec, std::size_t n) {
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
        boost::beast::http::async_read_header(
            stream_, buffer_, *parser_,
            [self = this->shared_from_this()](boost::beast::error_code ec, std::size_t) {
                self->onHeader(ec);
            });
    }

    void onHeader(boost::beast::error_code ec) {
        if (ec == boost::beast::http::error::header_limit)
            return refuse(431);
        if (ec == boost::beast::http::error::end_of_stream || (ec && quietEnd(ec) && buffer_.size() == 0))
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
        if (const auto codings = req.count(boost::beast::http::field::transfer_encoding);
            codings > 1 ||
            (codings == 1 &&
             !boost::beast::iequals(req[boost::beast::http::field::transfer_encoding], "chunked")))
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
        boost::beast::http::async_read(
            stream_, buffer_, *parser_,
            [self = this->shared_from_this()](boost::beast::error_code ec, std::size_t) {
                if (ec == boost::beast::http::error::body_limit)
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
            boost::asio::post(self->stream_.get_executor(), [self, response = std::move(response)]() mutable {
                self->write(std::move(response));
            });
        });
    }

    void refuse(int status) {
        keepAlive_ = false;
        drain_ = status == 413 || status == 400;
        write(server_.refusalResponse(status));
    }

    void write(HttpServer::Response response) {
        if (response.opened)
            return startStream(std::move(response));
        releaseBody();
        ServiceLog::request(method_, path_, response.status, started_);
        auto &res = response_.emplace();
        res.version(11);
        res.result(unsigned(response.status));
        res.reason(boost::beast::http::obsolete_reason(
            boost::beast::http::int_to_status(unsigned(response.status))));
        res.set(boost::beast::http::field::content_type, response.contentType);
        for (const auto &[name, value] : response.headers)
            res.insert(name, value);
        owner_ = std::move(response.owner);
        res.body() =
            boost::beast::http::span_body<const char>::value_type(response.body.data(), response.body.size());
        res.keep_alive(keepAlive_);
        res.prepare_payload();
        lowest().expires_after(server_.limits.writeDeadline);
        boost::beast::http::async_write(
            stream_, res, [self = this->shared_from_this()](boost::beast::error_code ec, std::size_t) {
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
        boost::beast::error_code ignored;
        if constexpr (!isTls)
            lowest().socket().shutdown(boost::asio::ip::tcp::socket::shutdown_send, ignored);
        lowest().expires_after(std::chrono::seconds(2));
        drainMore();
    }

    void drainMore() {
        discard_.resize(64 * 1024);
        stream_.async_read_some(
            boost::asio::buffer(discard_),
            [self = this->shared_from_this()](boost::beast::error_code ec, std::size_t n) {
                self->drained_ += n;
                if (ec || self->drained_ > drainMax)
                    return self->close();
                self->drainMore();
            });
    }

    void close() {
        boost::beast::error_code ignored;
        if constexpr (isTls) {
            if (!closing_ && served_ > 0) {
                closing_ = true;
                lowest().expires_after(std::chrono::seconds(2));
                stream_.async_shutdown([self = this->shared_from_this()](boost::beast::error_code) {
                    boost::beast::error_code ignored;
                    self->lowest().socket().close(ignored);
                });
                return;
            }
        } else {
            lowest().socket().shutdown(boost::asio::ip::tcp::socket::shutdown_both, ignored);
        }
        lowest().socket().close(ignored);
    }

    // An event stream holds the connection with nothing but its socket and what waits to be sent:
    // no thread, no parser, no buffers.
    class StreamHandle : public HttpServer::EventStream {
    public:
        explicit StreamHandle(std::weak_ptr<HttpConnection> connection)
            : connection_(std::move(connection)) {}
        void send(std::shared_ptr<const std::string> text) override {
            if (auto c = connection_.lock())
                boost::asio::post(c->stream_.get_executor(),
                                  [c, text = std::move(text)] { c->queueChunk(*text); });
        }
        void close() override {
            if (auto c = connection_.lock())
                boost::asio::post(c->stream_.get_executor(), [c] { c->endStream(); });
        }

    private:
        std::weak_ptr<HttpConnection> connection_;
    };

    static constexpr std::size_t streamBacklogMax = 256 * 1024;

    void startStream(HttpServer::Response response) {
        releaseBody();
        ServiceLog::request(method_, path_, response.status, started_);
        parser_.reset();
        buffer_.clear();
        buffer_.shrink_to_fit();
        std::string head = "HTTP/1.1 " + std::to_string(response.status) +
                           " OK\r\nContent-Type: " + response.contentType +
                           "\r\nCache-Control: no-store\r\nTransfer-Encoding: chunked\r\n";
        for (const auto &[name, value] : response.headers)
            head += name + ": " + value + "\r\n";
        outbox_ = head + "\r\n";
        streamEnded_ = std::move(response.ended);
        streaming_ = true;
        lowest().expires_never();
        writeOutbox();
        watchPeer();
        response.opened(std::make_shared<StreamHandle>(this->weak_from_this()));
    }

    void queueChunk(const std::string &text) {
        if (!streaming_ || text.empty())
            return;
        if (outbox_.size() + text.size() > streamBacklogMax)
            return endStream(); // a reader this far behind is gone or hostile
        char size[20];
        const int n = std::snprintf(size, sizeof size, "%zx\r\n", text.size());
        outbox_.append(size, std::size_t(n)).append(text).append("\r\n");
        if (!sending_)
            writeOutbox();
    }

    void writeOutbox() {
        sending_ = true;
        sendingNow_.swap(outbox_);
        outbox_.clear();
        lowest().expires_after(server_.limits.writeDeadline);
        boost::asio::async_write(stream_, boost::asio::buffer(sendingNow_),
                                 [self = this->shared_from_this()](boost::beast::error_code ec, std::size_t) {
                                     self->sending_ = false;
                                     std::string().swap(self->sendingNow_);
                                     if (ec)
                                         return self->endStream();
                                     if (!self->outbox_.empty())
                                         return self->writeOutbox();
                                     self->lowest().expires_never();
                                 });
    }

    // A stream's peer sends nothing; a read ends only when it leaves.
    void watchPeer() {
        stream_.async_read_some(boost::asio::buffer(peek_),
                                [self = this->shared_from_this()](boost::beast::error_code ec, std::size_t) {
                                    if (ec || !self->streaming_)
                                        return self->endStream();
                                    self->watchPeer();
                                });
    }

    void endStream() {
        if (!streaming_)
            return;
        streaming_ = false;
        std::string().swap(outbox_);
        close();
        if (auto ended = std::move(streamEnded_))
            ended();
    }

    void releaseBody() {
        if (reserved_ > 0)
            server_.bodyBytes -= reserved_;
        reserved_ = 0;
    }

    Server &server_;
    Stream stream_;
    std::string peer_;
    std::unique_ptr<ConnectionLimiter::Ticket> ticket_;
    boost::beast::flat_buffer buffer_;
    std::optional<boost::beast::http::request_parser<boost::beast::http::string_body>> parser_;
    std::optional<boost::beast::http::response<boost::beast::http::span_body<const char>>> response_;
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
    // While an event stream runs.
    bool streaming_ = false;
    bool sending_ = false;
    std::string outbox_;
    std::string sendingNow_;
    std::function<void()> streamEnded_;
    char peek_[16];
};
