// Raw bytes on one connection to the HTTP front with the service's limits: requests, pipelined
// ones, chunked bodies, broken framing. The server must answer or close, never crash or hang.
#include "http/cookiereader.h"
#include "http/formdata.h"
#include "http/httpserver.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <thread>

namespace {

constexpr std::size_t bodyLimit = 64 * 1024;

// The front and the thread that runs it, for the whole fuzzing run.
class Front {
public:
    Front()
        : server_(
              HttpServer::Limits{}, &Front::handle, [](std::string_view) { return bodyLimit; },
              [](int status) { return "{\"state\":0,\"status\":" + std::to_string(status) + "}"; }) {
        if (server_.listen("127.0.0.1", 0))
            std::abort();
        runner_ = std::thread([this] { server_.run(); });
    }
    ~Front() {
        server_.stop();
        runner_.join();
    }
    int port() const { return server_.port(); }

private:
    // What the API does with a request before it runs anything: its form, its cookies.
    static void handle(HttpServer::Request request, HttpServer::Completion done) {
        const auto form = FormData::parseUrlEncoded(request.body);
        const auto tokens = CookieReader::sessionTokens(request.headerValues("Cookie"));
        if (request.body.size() > bodyLimit)
            std::abort(); // a body past the limit must never reach a handler
        HttpServer::Response res;
        res.setBody("{\"fields\":" + std::to_string(form.size()) +
                    ",\"tokens\":" + std::to_string(tokens.size()) + "}");
        done(std::move(res));
    }

    HttpServer server_;
    std::thread runner_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static Front front;
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(std::uint16_t(front.port()));
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (fd < 0 || ::connect(fd, reinterpret_cast<sockaddr *>(&to), sizeof to) != 0)
        std::abort();
    timeval timeout{1, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    for (std::size_t sent = 0; sent < size;) {
        const auto n = ::send(fd, data + sent, size - sent, MSG_NOSIGNAL);
        if (n <= 0)
            break; // the server closed early: a refusal
        sent += std::size_t(n);
    }
    ::shutdown(fd, SHUT_WR);
    // Once the client has sent everything, the server owes answers and a close, well within its
    // header deadline.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(15);
    char buffer[16384];
    for (;;) {
        const auto n = ::recv(fd, buffer, sizeof buffer, 0);
        if (n == 0 || (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR))
            break;
        if (std::chrono::steady_clock::now() > deadline)
            std::abort();
    }
    ::close(fd);
    return 0;
}
