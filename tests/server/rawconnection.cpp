#include "rawconnection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>

RawConnection::RawConnection(int port, const std::string &source) {
    fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd_ < 0)
        return;
    sockaddr_in local{};
    local.sin_family = AF_INET;
    inet_pton(AF_INET, source.c_str(), &local.sin_addr);
    sockaddr_in remote{};
    remote.sin_family = AF_INET;
    remote.sin_port = htons(static_cast<uint16_t>(port));
    inet_pton(AF_INET, "127.0.0.1", &remote.sin_addr);
    const int one = 1;
    setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    if (::bind(fd_, reinterpret_cast<sockaddr *>(&local), sizeof local) != 0 ||
        ::connect(fd_, reinterpret_cast<sockaddr *>(&remote), sizeof remote) != 0) {
        ::close(fd_);
        fd_ = -1;
    }
}

RawConnection::~RawConnection() {
    if (fd_ >= 0)
        ::close(fd_);
}

bool RawConnection::send(const std::string &bytes) {
    std::size_t sent = 0;
    while (fd_ >= 0 && sent < bytes.size()) {
        const auto n = ::send(fd_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n <= 0)
            return false;
        sent += std::size_t(n);
    }
    return fd_ >= 0;
}

RawConnection::Fill RawConnection::fill(std::chrono::steady_clock::time_point deadline) {
    if (fd_ < 0)
        return Fill::Closed;
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    pollfd p{fd_, POLLIN, 0};
    if (left.count() <= 0 || ::poll(&p, 1, int(left.count())) <= 0)
        return Fill::TimedOut;
    char chunk[65536];
    const auto n = ::recv(fd_, chunk, sizeof chunk, 0);
    if (n <= 0)
        return Fill::Closed;
    buffer_.append(chunk, std::size_t(n));
    return Fill::Data;
}

RawConnection::Response RawConnection::read(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    std::size_t headEnd;
    while ((headEnd = buffer_.find("\r\n\r\n")) == std::string::npos)
        if (fill(deadline) != Fill::Data)
            return {};
    Response r;
    const std::string head = buffer_.substr(0, headEnd);
    std::size_t lineEnd = head.find("\r\n");
    const std::string statusLine = head.substr(0, lineEnd);
    if (statusLine.rfind("HTTP/1.1 ", 0) != 0 || statusLine.size() < 12)
        return {};
    const int status = std::atoi(statusLine.c_str() + 9);
    while (lineEnd != std::string::npos && lineEnd < head.size()) {
        const auto start = lineEnd + 2;
        lineEnd = head.find("\r\n", start);
        const auto line =
            head.substr(start, lineEnd == std::string::npos ? std::string::npos : lineEnd - start);
        const auto colon = line.find(':');
        if (colon == std::string::npos)
            continue;
        auto name = line.substr(0, colon);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return char(std::tolower(c)); });
        auto value = line.substr(colon + 1);
        value.erase(0, value.find_first_not_of(' '));
        r.headers[name] = value;
    }
    const std::size_t length = std::size_t(std::atoll(r.headers["content-length"].c_str()));
    while (buffer_.size() < headEnd + 4 + length)
        if (fill(deadline) != Fill::Data)
            return {};
    r.body = buffer_.substr(headEnd + 4, length);
    r.status = status;
    buffer_.erase(0, headEnd + 4 + length);
    return r;
}

std::string RawConnection::readEvent(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        for (std::size_t end; (end = events_.find("\n\n")) != std::string::npos;) {
            auto event = events_.substr(0, end);
            events_.erase(0, end + 2);
            if (!event.empty() && event[0] != ':')
                return event;
        }
        const auto sizeEnd = buffer_.find("\r\n");
        if (sizeEnd != std::string::npos) {
            const auto size = std::size_t(std::stoul(buffer_.substr(0, sizeEnd), nullptr, 16));
            if (size == 0)
                return {};
            if (buffer_.size() >= sizeEnd + 2 + size + 2) {
                events_ += buffer_.substr(sizeEnd + 2, size);
                buffer_.erase(0, sizeEnd + 2 + size + 2);
                continue;
            }
        }
        if (fill(deadline) != Fill::Data)
            return {};
    }
}

bool RawConnection::closedWithin(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        const auto got = fill(deadline);
        if (got != Fill::Data)
            return got == Fill::Closed;
        buffer_.clear();
    }
}

std::string RawConnection::formPost(const std::string &path, const std::string &body,
                                    const std::string &extraHeaders) {
    return "POST " + path +
           " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/x-www-form-urlencoded\r\n" +
           extraHeaders + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}
