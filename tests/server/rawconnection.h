#pragma once

#include <chrono>
#include <map>
#include <string>

// A plain TCP client for the cases no HTTP library would send: broken framing, floods, slow
// trickles, pipelining. It can pick its loopback source address (127.0.0.2 is a different peer
// as far as the service's per-address rules go). Every wait is bounded.
class RawConnection {
public:
    struct Response {
        int status = 0;
        std::map<std::string, std::string> headers; // names in lower case
        std::string body;
    };

    RawConnection(int port, const std::string &source = "127.0.0.1");
    ~RawConnection();
    RawConnection(const RawConnection &) = delete;
    RawConnection &operator=(const RawConnection &) = delete;

    bool connected() const { return fd_ >= 0; }
    // False when the peer no longer takes bytes.
    bool send(const std::string &bytes);
    // One response with a Content-Length body; status 0 when none came in time or it was cut.
    Response read(std::chrono::milliseconds timeout = std::chrono::seconds(10));
    // After read() took the head of a chunked event stream: its next event ("event: …\ndata: …"),
    // comment lines skipped; empty when none came in time or the stream ended.
    std::string readEvent(std::chrono::milliseconds timeout = std::chrono::seconds(10));
    // True when the service closed the connection within the timeout (what it sent is dropped).
    bool closedWithin(std::chrono::milliseconds timeout);

    // A form POST as the desktop client sends it, ready to write.
    static std::string formPost(const std::string &path, const std::string &body,
                                const std::string &extraHeaders = {});

private:
    enum class Fill { Data, Closed, TimedOut };
    // Reads more into buffer_.
    Fill fill(std::chrono::steady_clock::time_point deadline);

    int fd_ = -1;
    std::string buffer_;
    std::string events_; // an event stream's text, its chunk framing taken off
};
