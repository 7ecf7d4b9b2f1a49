#include "api/api.h"

#include "api/accounts.h"
#include "api/apireply.h"
#include "api/formfield.h"
#include "api/replytext.h"
#include "api/serviceclock.h"
#include "http/proxyaddress.h"
#include "log/servicelog.h"
#include "security/loginguard.h"
#include "storage/storage.h"

#include <malloc.h>

#include <algorithm>
#include <cmath>
#include <thread>

Api::Api(Options options, Storage &storage)
    : options_(std::move(options)), storage_(storage), sessions_(storage), signIn_(storage, throttle_),
      quota_(storage, options_.quotaBytes), access_(storage, sessions_), feed_(options_.streams),
      account_(options_.account, storage, sessions_, signIn_),
      library_(storage, access_, quota_, [this](std::int64_t id) { announce(id); }),
      pictures_(storage, access_, quota_, options_.maxPictureBytes), pages_(storage, signIn_),
      team_(storage, sessions_, access_, feed_),
      teamPage_(storage, sessions_, signIn_, options_.account.secureCookie),
      workers_(std::make_unique<WorkerPool>(options_.threads, 4096)),
      hashers_(std::make_unique<WorkerPool>(
          std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, 4), 64, hashingForSuspects())) {
    account_.addRoutes(routes_);
    library_.addRoutes(routes_);
    pictures_.addRoutes(routes_);
    pages_.addRoutes(routes_);
    team_.addRoutes(routes_);
    teamPage_.addRoutes(routes_);
    storage_.watchChanges([this](const ChangeNotice &notice) { onNotice(notice); });
}

Api::~Api() {
    stop();
}

void Api::onNotice(const ChangeNotice &notice) {
    switch (notice.kind) {
    case ChangeNotice::Kind::Version:
        feed_.publish(notice.id, notice.version);
        break;
    case ChangeNotice::Kind::Revoked:
        feed_.revoke(notice.id);
        break;
    case ChangeNotice::Kind::Libraries:
        workers_->submit([this, id = notice.id] {
            if (const auto libraries = storage_.libraries(id); libraries.ok())
                feed_.librariesChanged(id, *libraries);
            else
                ServiceLog::line("storage failed: " + libraries.error().message);
        });
        break;
    }
}

void Api::announce(std::int64_t libraryId) {
    if (const auto version = storage_.libraryVersion(libraryId); version.ok())
        feed_.publish(libraryId, *version);
}

void Api::pingStreams() {
    feed_.ping();
}

void Api::checkStreamSessions() {
    workers_->submit([this] {
        for (const auto &open : feed_.openStreams()) {
            HttpServer::Request request;
            for (const auto &cookie : open.cookies)
                request.headers.emplace_back("Cookie", cookie);
            // A storage failure says nothing about the session: the stream stays.
            if (const auto user = sessions_.user(request);
                user.ok() && (!*user || (*user)->id != open.accountId))
                feed_.close(open.id);
        }
    });
}

void Api::stop() {
    storage_.watchChanges({});
    // Their replies go nowhere once the HTTP server has stopped.
    hashers_->stop();
    workers_->stop();
}

std::size_t Api::bodyLimit(std::string_view path) const {
    return routes_.bodyLimit(path);
}

void Api::maintain() {
    workers_->submit([this] {
        const auto now = ServiceClock::unixSeconds();
        if (const auto purged = storage_.purgeExpired(now - Sessions::idleSeconds,
                                                      now - LoginGuard::window - LoginGuard::maxDelay);
            !purged.ok())
            ServiceLog::line("purge failed: " + purged.error().message);
        throttle_.purge(ServiceClock::steadySeconds());
    });
}

void Api::releaseMemory() {
    workers_->submit([] { malloc_trim(0); });
}

void Api::dispatch(HttpServer::Request request, HttpServer::Completion done) {
    request.peer =
        ProxyAddress::client(request.peer, request.headerValues("X-Forwarded-For"), options_.trustedProxies);
    auto match = routes_.find(request.method, request.path);
    if (!match)
        return done(ApiReply::send(ApiReply::refused(ReplyText::noEndpoint), 404));
    const auto &route = *match->route;
    // Checked before queueing, so a flood is answered at once and never reaches the hashing.
    const auto address = HttpServer::addressKey(request.peer);
    const auto now = ServiceClock::steadySeconds();
    if (route.checksPasswords && !throttle_.take(address, now)) {
        auto res = ApiReply::send(ApiReply::refused(ReplyText::tooManyLogins), 429);
        res.headers.emplace_back(
            "Retry-After",
            std::to_string(std::max<long>(1, std::lround(std::ceil(throttle_.wait(address, now))))));
        return done(std::move(res));
    }
    std::optional<FormData::Fields> form;
    auto lane = WorkerPool::Lane::Normal;
    if (route.checksPasswords) {
        if (route.takesForm)
            form = FormData::parseUrlEncoded(request.body);
        // Addresses that signed in before go first; guesses (from an address that failed, or at a
        // name that did, or several at once from one address) share a small budget of the
        // hashing, after everyone else.
        const auto name = form && route.nameField ? FormField::text(*form, route.nameField) : std::nullopt;
        if (throttle_.busy(address))
            lane = WorkerPool::Lane::Limited;
        else if (throttle_.trusted(address, now))
            lane = WorkerPool::Lane::First;
        else if (throttle_.failedRecently(address, now) ||
                 (name && throttle_.nameFailedRecently(Accounts::nameKey(*name), now)))
            lane = WorkerPool::Lane::Limited;
    }
    const bool counted = route.checksPasswords;
    auto task = [this, &route, request = std::move(request), rest = std::move(match->pathRest),
                 form = std::move(form), done, address, counted]() mutable {
        done(run(route, request, std::move(form), std::move(rest)));
        if (counted)
            throttle_.finished(address);
    };
    // A full queue is a refusal now rather than a long wait later.
    if (!(route.checksPasswords ? hashers_ : workers_)->submit(std::move(task), lane)) {
        if (counted)
            throttle_.finished(address);
        done(ApiReply::send(ApiReply::refused(ReplyText::busy), 503));
    }
}

std::size_t Api::hashingForSuspects() {
    // With two hashing threads, one; the rest stay free for owners.
    return std::max<std::size_t>(1, std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, 4) / 2);
}

HttpServer::Response Api::run(const RouteTable::Route &route, const HttpServer::Request &request,
                              std::optional<FormData::Fields> form, std::string pathRest) {
    // Storage failures come back as values; what can still throw here is the allocator
    // (std::bad_alloc) and the JSON library, and one request must not end the process.
    try {
        if (!form && route.takesForm)
            form = FormData::parseUrlEncoded(request.body);
        RouteTable::Call call{request, form ? std::move(*form) : FormData::Fields(), std::move(pathRest)};
        return route.handler(call);
    } catch (const std::exception &e) {
        ServiceLog::line(request.path + " failed: " + e.what());
        return ApiReply::send(ApiReply::refused(ReplyText::internal));
    }
}
