// Change streams under load: N members hold the team's stream open, an editor changes the team
// library, and every member's notice is timed from the edit's answer. Also the service's resident
// memory per idle stream. Not a test: it prints figures.
//
// teamstreams EDIT_URL STREAM_URL --pid PID [--members 1,100,1000,10000] [--accounts N] [--edits N]
// The team "bench" must exist with owner "lead" and members m1..mN (password "bench-password").
#include "security/rc4cipher.h"
#include "security/secrets.h"

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

struct Url {
    std::string host;
    int port = 0;
};

Url parse(const std::string &url) {
    const auto hostStart = url.find("://") + 3;
    const auto colon = url.rfind(':');
    return {url.substr(hostStart, colon - hostStart), std::stoi(url.substr(colon + 1))};
}

std::string signIn(const std::string &baseUrl, const std::string &name) {
    httplib::Client c(baseUrl);
    const auto cipher = Secrets::toBase64(Rc4Cipher::apply("bench-password", Rc4Cipher::passwordKey()));
    const auto r = c.Post("/api/osx/login", httplib::Params{{"usernames", name}, {"password", cipher}});
    if (!r || r->status != 200)
        return {};
    const auto cookie = r->get_header_value("Set-Cookie");
    return cookie.substr(0, cookie.find(';'));
}

long residentKiB(int pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmRSS:", 0) == 0)
            return std::stol(line.substr(6));
    return -1;
}

struct Stream {
    int fd = -1;
    std::string seen; // bytes since the last notice looked for
    Clock::time_point noticed{};
};

double percentile(std::vector<double> v, double p) {
    if (v.empty())
        return 0;
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, std::size_t(p * double(v.size())))];
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 3) {
        std::cerr << "usage: teamstreams EDIT_URL STREAM_URL --pid PID [--members 1,100,1000,10000] "
                     "[--accounts N] [--edits N]\n";
        return 2;
    }
    const std::string editUrl = argv[1], streamUrl = argv[2];
    int pid = 0, accounts = 16, edits = 20;
    std::vector<int> sizes{1, 100, 1000, 10000};
    for (int i = 3; i + 1 < argc; i += 2) {
        const std::string a = argv[i];
        if (a == "--pid")
            pid = std::atoi(argv[i + 1]);
        else if (a == "--accounts")
            accounts = std::max(1, std::atoi(argv[i + 1]));
        else if (a == "--edits")
            edits = std::max(1, std::atoi(argv[i + 1]));
        else if (a == "--members") {
            sizes.clear();
            std::stringstream list(argv[i + 1]);
            for (std::string n; std::getline(list, n, ',');)
                sizes.push_back(std::stoi(n));
        }
    }
    Secrets::init();
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);

    std::vector<std::string> cookies;
    for (int i = 1; i <= accounts; ++i)
        cookies.push_back(signIn(streamUrl, "m" + std::to_string(i)));
    const auto leadCookie = signIn(editUrl, "lead");
    if (leadCookie.empty() || std::count(cookies.begin(), cookies.end(), std::string()) > 0) {
        std::cerr << "sign-in failed\n";
        return 1;
    }
    httplib::Client editor(editUrl);
    editor.set_keep_alive(true);
    const httplib::Headers leadHeaders{{"Cookie", leadCookie}};
    const auto classes =
        editor.Post("/api/word/class/getAll", leadHeaders, httplib::Params{{"dbname", "bench"}});
    const auto classSign = nlohmann::json::parse(classes->body)["data"][0].value("sign", "");

    const auto target = parse(streamUrl);
    const int poller = epoll_create1(EPOLL_CLOEXEC);
    std::vector<Stream> streams;
    const auto openStream = [&](std::size_t index) {
        Stream s;
        s.fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in remote{};
        remote.sin_family = AF_INET;
        remote.sin_port = htons(std::uint16_t(target.port));
        inet_pton(AF_INET, target.host.c_str(), &remote.sin_addr);
        const int one = 1;
        setsockopt(s.fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        if (::connect(s.fd, reinterpret_cast<sockaddr *>(&remote), sizeof remote) != 0)
            return false;
        const std::string request = "GET /api/team/stream HTTP/1.1\r\nHost: " + target.host +
                                    "\r\nCookie: " + cookies[index % cookies.size()] + "\r\n\r\n";
        if (::send(s.fd, request.data(), request.size(), MSG_NOSIGNAL) != ssize_t(request.size()))
            return false;
        fcntl(s.fd, F_SETFL, O_NONBLOCK);
        epoll_event e{EPOLLIN, {}};
        e.data.u64 = streams.size();
        epoll_ctl(poller, EPOLL_CTL_ADD, s.fd, &e);
        streams.push_back(std::move(s));
        return true;
    };
    // Reads until every stream from `first` on has seen `needle` (or the deadline passes); false on a
    // dead stream.
    const auto awaitAll = [&](const std::string &needle, std::chrono::seconds limit, std::size_t first) {
        std::size_t waiting = 0;
        for (std::size_t i = 0; i < streams.size(); ++i) {
            auto &s = streams[i];
            if (i < first)
                s.noticed = Clock::now();
            else if (s.seen.find(needle) == std::string::npos) {
                s.noticed = {};
                ++waiting;
            } else {
                s.noticed = Clock::now();
                s.seen.clear();
            }
        }
        const auto deadline = Clock::now() + limit;
        std::vector<epoll_event> events(1024);
        char buffer[4096];
        while (waiting > 0 && Clock::now() < deadline) {
            const int n = epoll_wait(poller, events.data(), int(events.size()), 200);
            const auto now = Clock::now();
            for (int i = 0; i < n; ++i) {
                auto &s = streams[events[std::size_t(i)].data.u64];
                for (;;) {
                    const auto got = ::recv(s.fd, buffer, sizeof buffer, 0);
                    if (got == 0) {
                        std::cerr << "a stream was closed after: " << s.seen << "\n";
                        return false;
                    }
                    if (got < 0)
                        break;
                    s.seen.append(buffer, std::size_t(got));
                }
                if (s.noticed == Clock::time_point{} && s.seen.find(needle) != std::string::npos) {
                    s.noticed = now;
                    s.seen.clear();
                    --waiting;
                }
            }
        }
        return waiting == 0;
    };

    std::int64_t version = 0;
    {
        httplib::Client c(streamUrl);
        const auto r = c.Post("/api/team/libraries", {{"Cookie", cookies[0]}}, httplib::Params{});
        const auto libraries = nlohmann::json::parse(r->body);
        for (const auto &library : libraries["data"])
            if (library.value("dbname", "") == "bench")
                version = library.value("version", std::int64_t(0));
    }
    if (version == 0) {
        std::cerr << "no team \"bench\" among the first member's libraries\n";
        return 1;
    }
    const long before = residentKiB(pid);
    std::printf("%-8s %10s %10s %10s %12s\n", "members", "edits", "p50 ms", "p99 ms", "max ms");
    for (const int size : sizes) {
        const auto first = streams.size();
        while (int(streams.size()) < size)
            if (!openStream(streams.size())) {
                std::cerr << "cannot open stream " << streams.size() << "\n";
                return 1;
            }
        if (!awaitAll("\"version\":" + std::to_string(version) + "}", std::chrono::seconds(120), first)) {
            std::cerr << "not every stream started\n";
            return 1;
        }
        if (size >= 10000 || size == sizes.back()) {
            const long after = residentKiB(pid);
            std::printf(
                "service resident memory: %ld KiB before streams, %ld KiB with %zu idle streams: %.1f KiB "
                "per stream\n",
                before, after, streams.size(), double(after - before) / double(streams.size()));
        }
        std::vector<double> latencies;
        for (int e = 0; e < edits; ++e) {
            const auto r = editor.Post("/api/word/class/upLabel", leadHeaders,
                                       httplib::Params{{"sign", classSign},
                                                       {"newLabel", "label " + std::to_string(version + 1)},
                                                       {"dbname", "bench"},
                                                       {"username", "lead"}});
            const auto answered = Clock::now();
            if (!r || nlohmann::json::parse(r->body).value("state", 0) != 1) {
                std::cerr << "edit failed\n";
                return 1;
            }
            ++version;
            if (!awaitAll("\"version\":" + std::to_string(version) + "}", std::chrono::seconds(60), 0)) {
                std::cerr << "not every member heard of version " << version << "\n";
                return 1;
            }
            // A notice may beat the edit's own answer: that counts as no wait.
            for (const auto &s : streams)
                latencies.push_back(
                    std::max(0.0, std::chrono::duration<double, std::milli>(s.noticed - answered).count()));
        }
        std::printf("%-8d %10d %10.2f %10.2f %12.2f\n", size, edits, percentile(latencies, 0.5),
                    percentile(latencies, 0.99), percentile(latencies, 1.0));
        std::fflush(stdout);
    }
    for (auto &s : streams)
        ::close(s.fd);
    return 0;
}
