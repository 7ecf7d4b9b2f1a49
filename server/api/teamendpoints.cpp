#include "api/teamendpoints.h"

#include "api/apireply.h"
#include "api/changefeed.h"
#include "api/formfield.h"
#include "api/libraryaccess.h"
#include "api/libraryjson.h"
#include "api/replytext.h"
#include "api/serviceclock.h"
#include "api/sessions.h"
#include "api/teamrolename.h"
#include "storage/storage.h"

namespace {

constexpr std::size_t batchIdMax = 128;
constexpr std::size_t countsMax = 10000;
constexpr std::int64_t sendsMax = 1000000; // per phrase and batch

bool printable(const std::string &text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7f; });
}

} // namespace

void TeamEndpoints::addRoutes(RouteTable &routes) {
    routes.add("POST", "/api/team/libraries",
               {[this](const RouteTable::Call &c) { return ApiReply::send(libraries(c)); }});
    routes.add("GET", "/api/team/stream", {[this](const RouteTable::Call &c) { return stream(c); }});
    routes.add("POST", "/api/team/changes",
               {[this](const RouteTable::Call &c) { return ApiReply::send(changes(c)); }});
    routes.add("POST", "/api/team/usage",
               {[this](const RouteTable::Call &c) { return ApiReply::send(usage(c)); }});
}

TeamEndpoints::Json TeamEndpoints::libraries(const RouteTable::Call &call) {
    const auto user = sessions_.user(call.request);
    if (!user.ok())
        return ApiReply::storageFailed(user.error());
    if (!*user)
        return ApiReply::refused(ReplyText::deadSession);
    const auto found = storage_.libraries((*user)->id);
    if (!found.ok())
        return ApiReply::storageFailed(found.error());
    auto reply = ApiReply::ok();
    reply["data"] = Json::array();
    for (const auto &library : *found)
        reply["data"].push_back({{"dbname", library.name},
                                 {"team", library.team},
                                 {"role", TeamRoleName::of(library.role)},
                                 {"version", library.version}});
    return reply;
}

HttpServer::Response TeamEndpoints::stream(const RouteTable::Call &call) {
    const auto user = sessions_.user(call.request);
    if (!user.ok())
        return ApiReply::send(ApiReply::storageFailed(user.error()), 503);
    if (!*user)
        return ApiReply::send(ApiReply::refused(ReplyText::deadSession), 401);
    auto slot = feed_.reserve((*user)->id, HttpServer::addressKey(call.request.peer),
                              call.request.headerValues("Cookie"));
    if (!slot) {
        auto res = ApiReply::send(ApiReply::refused(ReplyText::tooManyStreams), 429);
        res.headers.emplace_back("Retry-After", "30");
        return res;
    }
    auto found = storage_.libraries((*user)->id);
    if (!found.ok())
        return ApiReply::send(ApiReply::storageFailed(found.error()), 503);
    HttpServer::Response res;
    res.contentType = "text/event-stream";
    // Proxies that buffer would hold notices back.
    res.headers.emplace_back("X-Accel-Buffering", "no");
    res.opened = [this, slot,
                  libraries = std::move(*found)](std::shared_ptr<HttpServer::EventStream> stream) {
        feed_.open(slot, std::move(stream), libraries);
    };
    res.ended = [this, slot] { feed_.ended(*slot); };
    return res;
}

TeamEndpoints::Json TeamEndpoints::changes(const RouteTable::Call &call) {
    const auto dbname = FormField::text(call.form, "dbname");
    const auto since = FormField::integer(call.form, "since");
    if (!dbname || !since || *since < 0) {
        const auto user = sessions_.user(call.request);
        if (!user.ok())
            return ApiReply::storageFailed(user.error());
        return ApiReply::refused(*user ? ReplyText::badParameter : ReplyText::deadSession);
    }
    auto granted = access_.check(call.request, *dbname, false);
    if (auto *refusal = std::get_if<Json>(&granted))
        return *refusal;
    const auto &library = std::get<LibraryAccess::Grant>(granted).library;
    const auto found = storage_.changesSince(library.id, *since);
    if (!found.ok())
        return ApiReply::storageFailed(found.error());
    Json data{{"version", found->version},
              {"full", found->full},
              {"classes", Json::array()},
              {"phrases", Json::array()},
              {"deleted", found->deleted}};
    for (const auto &c : found->classes)
        data["classes"].push_back(LibraryJson::classItem(c, library.name));
    for (const auto &p : found->phrases)
        data["phrases"].push_back(LibraryJson::phraseItem(p, library.name));
    auto reply = ApiReply::ok();
    reply["data"] = std::move(data);
    return reply;
}

TeamEndpoints::Json TeamEndpoints::usage(const RouteTable::Call &call) {
    const auto dbname = FormField::text(call.form, "dbname");
    const auto batch = FormField::text(call.form, "batch");
    const auto countsText = FormField::text(call.form, "counts");
    auto granted = access_.check(call.request, dbname.value_or(""), false);
    if (auto *refusal = std::get_if<Json>(&granted))
        return *refusal;
    const auto &grant = std::get<LibraryAccess::Grant>(granted);
    // Usage is counted for team libraries only.
    if (!grant.library.team)
        return ApiReply::refused(ReplyText::forbidden);
    if (!batch || batch->empty() || batch->size() > batchIdMax || !printable(*batch) || !countsText)
        return ApiReply::refused(ReplyText::badParameter);
    const auto counts = Json::parse(*countsText, nullptr, false);
    if (!counts.is_object() || counts.size() > countsMax)
        return ApiReply::refused(ReplyText::badParameter);
    std::vector<std::pair<std::string, std::int64_t>> parsed;
    for (const auto &[sign, sends] : counts.items()) {
        if (!sends.is_number_integer() || sends.get<std::int64_t>() < 1 ||
            sends.get<std::int64_t>() > sendsMax || sign.empty() || sign.size() > 64 || !printable(sign))
            return ApiReply::refused(ReplyText::badParameter);
        parsed.emplace_back(sign, sends.get<std::int64_t>());
    }
    const auto now = ServiceClock::unixSeconds();
    const auto recorded =
        storage_.recordUsage(grant.library.id, grant.caller.id, *batch, now / 86400, parsed, now);
    if (!recorded.ok())
        return ApiReply::storageFailed(recorded.error());
    return ApiReply::ok(); // a batch seen before was counted then
}
