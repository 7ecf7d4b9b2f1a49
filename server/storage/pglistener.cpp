#include "storage/pglistener.h"

#include "log/servicelog.h"
#include "storage/pgconnection.h"

#include <libpq-fe.h>
#include <poll.h>

#include <chrono>
#include <memory>

PgListener::PgListener(std::string url, std::string channel,
                       std::function<void(const std::string &)> received)
    : url_(std::move(url)), channel_(std::move(channel)), received_(std::move(received)),
      thread_([this](std::stop_token stop) { loop(stop); }) {}

PgListener::~PgListener() {
    thread_.request_stop();
}

void PgListener::loop(std::stop_token stop) {
    bool wasLost = false;
    while (!stop.stop_requested()) {
        std::unique_ptr<PGconn, void (*)(PGconn *)> conn(
            PQconnectdb(PgConnection::withTimeout(url_, 3).c_str()), PQfinish);
        const auto listen = [&] {
            if (PQstatus(conn.get()) != CONNECTION_OK)
                return false;
            std::unique_ptr<PGresult, void (*)(PGresult *)> r(
                PQexec(conn.get(), ("LISTEN " + channel_).c_str()), PQclear);
            return PQresultStatus(r.get()) == PGRES_COMMAND_OK;
        };
        if (!listen()) {
            if (!wasLost)
                ServiceLog::line("cannot listen for changes: " + std::string(PQerrorMessage(conn.get())));
            wasLost = true;
            for (int i = 0; i < 10 && !stop.stop_requested(); ++i)
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
            continue;
        }
        if (wasLost)
            ServiceLog::line("listening for changes again; notices sent meanwhile were missed");
        wasLost = false;
        while (!stop.stop_requested()) {
            pollfd fd{PQsocket(conn.get()), POLLIN, 0};
            // Wakes now and then to see whether the service is stopping.
            if (::poll(&fd, 1, 200) < 0)
                continue;
            if (!PQconsumeInput(conn.get())) {
                ServiceLog::line("change notices lost their connection: " +
                                 std::string(PQerrorMessage(conn.get())));
                wasLost = true;
                break;
            }
            while (PGnotify *n = PQnotifies(conn.get())) {
                const std::string payload = n->extra;
                PQfreemem(n);
                received_(payload);
            }
        }
    }
}
