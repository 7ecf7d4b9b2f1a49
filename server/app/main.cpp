#include "app/admincommands.h"
#include "app/cloudserver.h"
#include "app/serverconfig.h"
#include "app/teamcommands.h"
#include "log/servicelog.h"
#include "security/secrets.h"
#include "storage/postgresstorage.h"
#include "storage/sqlitestorage.h"
#include "storage/storagemigration.h"

#include <malloc.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <memory>
#include <pthread.h>
#include <thread>

namespace {

const char *const usage =
    "usage: quillora-cloud serve [--listen ADDR] [--port N] [--data DIR] [--tls-cert F --tls-key F]\n"
    "                            [--min-version N] [--download-url URL] [--single-session]\n"
    "                            [--max-picture-mib N] [--threads N] [--quota-mib N]\n"
    "                            [--max-connections N] [--max-connections-per-address N]\n"
    "                            [--header-timeout S]\n"
    "                            [--max-streams-per-account N] [--max-streams-per-address N]\n"
    "                            [--database postgresql://… [--database-connections N]]\n"
    "                            [--trusted-proxy ADDR]...\n"
    "       quillora-cloud adduser NAME [--data DIR]   (password on the first line of standard input)\n"
    "       quillora-cloud passwd NAME [--data DIR]    (password on the first line of standard input)\n"
    "       quillora-cloud demo [--data DIR]\n"
    "       quillora-cloud migrate --from sqlite:PATH --to postgresql://…\n"
    "       quillora-cloud team create TEAM OWNER | add TEAM USER ROLE | role TEAM USER ROLE\n"
    "                         | remove TEAM USER | delete TEAM | list [TEAM] | usage TEAM [--csv]\n"
    "                          [--data DIR | --database postgresql://…]   (ROLE: owner, editor or agent)\n"
    "   adduser, passwd and demo take --database too.\n";

sigset_t terminationSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

int serve(const ServerConfig &config, Storage &storage) {
    // Termination signals are taken by one thread that stops the server cleanly (every thread
    // blocks them; see main).
    sigset_t signals = terminationSignals();
    std::signal(SIGPIPE, SIG_IGN);

    CloudServer server(config, storage);
    std::thread waiter([&] {
        int received = 0;
        sigwait(&signals, &received);
        if (received != 0)
            server.stop();
    });
    const int status = server.run();
    pthread_kill(waiter.native_handle(), SIGTERM); // wakes the waiter when run() ended on its own
    waiter.join();
    return status;
}

// `migrate --from sqlite:PATH --to postgresql://…`
int migrate(const std::vector<std::string> &args) {
    std::string from, to;
    for (std::size_t i = 0; i + 1 < args.size(); i += 2) {
        if (args[i] == "--from")
            from = args[i + 1];
        else if (args[i] == "--to")
            to = args[i + 1];
        else
            from.clear();
    }
    if (args.size() != 4 || from.rfind("sqlite:", 0) != 0 || !ServerConfig::isPostgresUrl(to)) {
        ServiceLog::write(usage, ServiceLog::Stream::Error);
        return 2;
    }
    if (!Secrets::init()) {
        ServiceLog::line("cannot initialise libsodium", ServiceLog::Stream::Error);
        return 1;
    }
    return StorageMigration::run(from.substr(7), to);
}

std::unique_ptr<Storage> openStorage(const ServerConfig &config, std::string &error) {
    if (!config.database.empty()) {
        auto storage = PostgresStorage::open(config.database, config.connectionBound(), error);
        if (!storage)
            error = "cannot open the database: " + error;
        return storage;
    }
    std::error_code created;
    std::filesystem::create_directories(config.dataDir, created);
    auto storage = created ? nullptr : SqliteStorage::open(config.databasePath(), error);
    if (!storage)
        error = "cannot open data folder " + config.dataDir + ": " + (created ? created.message() : error);
    return storage;
}

} // namespace

int main(int argc, char **argv) {
    // A fixed threshold keeps large request bodies in mappings of their own, which go back to the
    // system when freed (the default threshold rises after the first large free).
    mallopt(M_MMAP_THRESHOLD, 256 * 1024);
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty() || args[0] == "--help" || args[0] == "-h") {
        ServiceLog::write(usage);
        return args.empty() ? 2 : 0;
    }
    const std::string command = args[0];
    if (command == "migrate")
        return migrate({args.begin() + 1, args.end()});
    std::vector<std::string> positional;
    std::string error;
    std::vector<std::string> options(args.begin() + 1, args.end());
    // Only `team usage` takes --csv.
    const auto csv = std::find(options.begin(), options.end(), "--csv");
    const bool wantsCsv = command == "team" && csv != options.end();
    if (wantsCsv)
        options.erase(csv);
    const ServerConfig config = ServerConfig::parse(options, positional, error);
    if (!error.empty()) {
        ServiceLog::line(error + "\n" + usage, ServiceLog::Stream::Error);
        return 2;
    }
    const bool takesName = command == "adduser" || command == "passwd";
    if ((command != "serve" && command != "demo" && command != "team" && !takesName) ||
        (command != "team" && positional.size() != (takesName ? 1u : 0u)) ||
        (command == "team" && positional.empty())) {
        ServiceLog::write(usage, ServiceLog::Stream::Error);
        return 2;
    }
    if (!Secrets::init()) {
        ServiceLog::line("cannot initialise libsodium", ServiceLog::Stream::Error);
        return 1;
    }
    if (command == "serve") {
        // Blocked before the storage starts its thread, so no thread but the waiter sees them.
        const sigset_t signals = terminationSignals();
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    }
    const auto storage = openStorage(config, error);
    if (!storage) {
        ServiceLog::line(error, ServiceLog::Stream::Error);
        return 1;
    }
    if (command == "serve")
        return serve(config, *storage);
    if (command == "adduser")
        return AdminCommands::addUser(*storage, positional[0], std::cin);
    if (command == "passwd")
        return AdminCommands::changePassword(*storage, positional[0], std::cin);
    if (command == "team") {
        const int status = TeamCommands::run(*storage, positional, wantsCsv, std::cout);
        if (status == 2)
            ServiceLog::write(usage, ServiceLog::Stream::Error);
        return status;
    }
    return AdminCommands::demo(*storage);
}
