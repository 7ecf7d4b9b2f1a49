#include "api/libraryendpoints.h"

#include "api/apireply.h"
#include "api/contentrules.h"
#include "api/formfield.h"
#include "api/libraryaccess.h"
#include "api/libraryjson.h"
#include "api/picturename.h"
#include "api/quota.h"
#include "api/replytext.h"
#include "security/secrets.h"
#include "storage/storage.h"

#include <algorithm>

namespace {

using Json = nlohmann::json;

constexpr std::size_t labelMax = 200;
constexpr std::size_t jsonValueMax = 1024 * 1024;

// Empty when the label is acceptable, else the refusal text.
std::string labelProblem(const std::optional<std::string> &label) {
    if (!label || label->find('\0') != std::string::npos)
        return ReplyText::badParameter;
    const auto length = ContentRules::utf8Length(*label);
    if (!length)
        return ReplyText::badParameter;
    if (*length > labelMax)
        return ReplyText::labelTooLong;
    return {};
}

std::string contentProblem(const std::optional<std::string> &jsonValue, ContentRules::Derived &derived) {
    if (!jsonValue)
        return ReplyText::badParameter;
    if (jsonValue->size() > jsonValueMax)
        return ReplyText::contentTooLarge;
    auto rules = ContentRules::validate(*jsonValue);
    if (!rules)
        return ReplyText::badContent;
    // Otherwise the library would point at pictures that can never be stored.
    for (const auto &name : rules->pictures)
        if (!PictureName::isAccepted(name))
            return ReplyText::pictureFormat;
    derived = std::move(*rules);
    return {};
}

// Empty when label and content are acceptable; the record then holds them and the derived columns.
std::string phraseProblem(const std::optional<std::string> &label,
                          const std::optional<std::string> &jsonValue, PhraseRecord &record) {
    if (auto problem = labelProblem(label); !problem.empty())
        return problem;
    ContentRules::Derived derived;
    if (auto problem = contentProblem(jsonValue, derived); !problem.empty())
        return problem;
    record.label = *label;
    record.jsonValue = *jsonValue;
    record.texts = std::move(derived.texts);
    record.images = std::move(derived.images);
    return {};
}

// Libraries run to hundreds of kilobytes: the cached text goes out without a copy, compressed
// when the caller takes gzip (the desktop client's HTTP stack does).
HttpServer::Response cachedResponse(const HttpServer::Request &request,
                                    std::shared_ptr<const LibraryCache::Reply> reply) {
    HttpServer::Response res;
    const bool gzip =
        !reply->gzip.empty() && request.header("Accept-Encoding").find("gzip") != std::string::npos;
    res.body = gzip ? reply->gzip : reply->plain;
    if (gzip)
        res.headers.emplace_back("Content-Encoding", "gzip");
    res.headers.emplace_back("Vary", "Accept-Encoding");
    res.owner = std::move(reply);
    return res;
}

} // namespace

void LibraryEndpoints::addRoutes(RouteTable &routes) {
    routes.add("POST", "/api/word/class/create", change(&LibraryEndpoints::createClass));
    routes.add("POST", "/api/word/class/del", change(&LibraryEndpoints::deleteClasses));
    routes.add("POST", "/api/word/class/upLabel", change(&LibraryEndpoints::renameClass));
    routes.add("POST", "/api/word/class/swapPosition", change(&LibraryEndpoints::swapClasses));
    routes.add("POST", "/api/word/class/getAll",
               {[this](const RouteTable::Call &c) { return read(c, LibraryCache::Kind::Classes); }});
    routes.add("POST", "/api/word/list/create", change(&LibraryEndpoints::createPhrase));
    routes.add("POST", "/api/word/list/del", change(&LibraryEndpoints::deletePhrases));
    routes.add("POST", "/api/word/list/upValue", change(&LibraryEndpoints::editPhrase));
    // "swapPostion" is the path the client uses.
    routes.add("POST", "/api/word/list/swapPostion", change(&LibraryEndpoints::swapPhrases));
    routes.add("POST", "/api/word/list/getAll",
               {[this](const RouteTable::Call &c) { return read(c, LibraryCache::Kind::Phrases); }});
}

RouteTable::Route LibraryEndpoints::change(Change handler) {
    return {[this, handler](const RouteTable::Call &call) {
        const auto library = access_.libraryOf(call.request, call.form, true);
        if (const auto *refusal = std::get_if<Json>(&library))
            return ApiReply::send(*refusal);
        const auto &record = std::get<UserRecord>(library);
        auto reply = (this->*handler)(call.form, record);
        if (reply.value("state", 0) == 1)
            changed_(record.id);
        return ApiReply::send(reply);
    }};
}

HttpServer::Response LibraryEndpoints::read(const RouteTable::Call &call, LibraryCache::Kind kind) {
    const auto owner = access_.libraryOf(call.request, call.form, false);
    if (const auto *refusal = std::get_if<Json>(&owner))
        return ApiReply::send(*refusal);
    const auto &user = std::get<UserRecord>(owner);
    const auto version = storage_.libraryVersion(user.id);
    if (!version.ok())
        return ApiReply::send(ApiReply::storageFailed(version.error()));
    std::optional<StorageError> failure; // why nothing was built
    auto reply = cache_.get(user.id, kind, *version, [&] { return build(user, kind, failure); });
    if (!reply)
        return ApiReply::send(ApiReply::storageFailed(*failure));
    return cachedResponse(call.request, std::move(reply));
}

std::shared_ptr<const LibraryCache::Reply> LibraryEndpoints::build(const UserRecord &user,
                                                                   LibraryCache::Kind kind,
                                                                   std::optional<StorageError> &failure) {
    std::vector<Json> data;
    std::vector<const std::string *> signs; // pieces end after signs chosen by their hash
    if (kind == LibraryCache::Kind::Classes) {
        const auto classes = storage_.classes(user.id);
        if (!classes.ok()) {
            failure = classes.error();
            return nullptr;
        }
        for (const auto &c : *classes)
            data.push_back(LibraryJson::classItem(c, user.name));
        return assemble(data, {}, cache_.latest(user.id, kind));
    } else {
        const auto phrases = storage_.phrases(user.id);
        if (!phrases.ok()) {
            failure = phrases.error();
            return nullptr;
        }
        for (const auto &p : *phrases)
            data.push_back(LibraryJson::phraseItem(p, user.name));
        for (const auto &p : *phrases)
            signs.push_back(&p.sign);
        return assemble(data, signs, cache_.latest(user.id, kind));
    }
}

std::shared_ptr<const LibraryCache::Reply>
LibraryEndpoints::assemble(const std::vector<Json> &data, const std::vector<const std::string *> &signs,
                           const std::shared_ptr<const LibraryCache::Reply> &previous) {
    constexpr std::size_t pieceMax = 64 * 1024;
    auto reply = ApiReply::ok();
    reply["data"] = Json::array();
    const auto shell = reply.dump(-1, ' ', false, Json::error_handler_t::replace);
    const auto at = shell.find("\"data\":[]") + 8; // where the elements go
    auto built = std::make_shared<LibraryCache::Reply>();
    auto &plain = built->plain;
    plain = shell.substr(0, at);
    std::vector<std::size_t> ends{plain.size()};
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (i > 0)
            plain += ',';
        plain += data[i].dump(-1, ' ', false, Json::error_handler_t::replace);
        // Ends chosen by content, not by count, so one phrase added or removed changes one piece.
        const bool end = i < signs.size() && std::hash<std::string>{}(*signs[i]) % 64 == 0;
        if (end || plain.size() - ends.back() >= pieceMax)
            ends.push_back(plain.size());
    }
    if (ends.back() != plain.size())
        ends.push_back(plain.size());
    plain += shell.substr(at);
    ends.push_back(plain.size());
    std::vector<std::string_view> texts;
    for (std::size_t i = 0, start = 0; i < ends.size(); start = ends[i++])
        texts.push_back(std::string_view(plain).substr(start, ends[i] - start));
    built->pieces =
        ChunkedGzip::pieces(texts, previous ? previous->pieces : std::vector<ChunkedGzip::Piece>());
    if (!built->pieces.empty())
        built->gzip = ChunkedGzip::assemble(built->pieces);
    return built;
}

LibraryEndpoints::Json LibraryEndpoints::createClass(const FormData::Fields &form, const UserRecord &user) {
    const auto label = FormField::text(form, "label");
    if (auto problem = labelProblem(label); !problem.empty())
        return ApiReply::refused(problem);
    const auto position = FormField::integer(form, "position");
    if (!position)
        return ApiReply::refused(ReplyText::badParameter);
    const auto sign = Secrets::randomHex128();
    if (const auto created = storage_.createClass(user.id, sign, *label, *position); !created.ok())
        return ApiReply::storageFailed(created.error());
    auto reply = ApiReply::ok();
    reply["sign"] = sign;
    return reply;
}

LibraryEndpoints::Json LibraryEndpoints::deleteClasses(const FormData::Fields &form, const UserRecord &user) {
    const auto signs = FormField::signs(form, "sign");
    if (signs.empty())
        return ApiReply::refused(ReplyText::badParameter);
    return ApiReply::fromStatus(storage_.deleteClasses(user.id, signs), ReplyText::noClass);
}

LibraryEndpoints::Json LibraryEndpoints::renameClass(const FormData::Fields &form, const UserRecord &user) {
    const auto sign = FormField::text(form, "sign");
    const auto label = FormField::text(form, "newLabel");
    if (!sign)
        return ApiReply::refused(ReplyText::badParameter);
    if (auto problem = labelProblem(label); !problem.empty())
        return ApiReply::refused(problem);
    return ApiReply::fromStatus(storage_.setClassLabel(user.id, *sign, *label), ReplyText::noClass);
}

LibraryEndpoints::Json LibraryEndpoints::swapClasses(const FormData::Fields &form, const UserRecord &user) {
    const auto a = FormField::text(form, "sign1"), b = FormField::text(form, "sign2");
    if (!a || !b)
        return ApiReply::refused(ReplyText::badParameter);
    return ApiReply::fromStatus(storage_.swapClasses(user.id, *a, *b), ReplyText::noClass);
}

LibraryEndpoints::Json LibraryEndpoints::createPhrase(const FormData::Fields &form, const UserRecord &user) {
    const auto parent = FormField::text(form, "parentSign");
    const auto position = FormField::integer(form, "position");
    if (!parent || !position)
        return ApiReply::refused(ReplyText::badParameter);
    PhraseRecord record;
    if (auto problem =
            phraseProblem(FormField::text(form, "label"), FormField::text(form, "jsonValue"), record);
        !problem.empty())
        return ApiReply::refused(problem);
    if (auto problem = quota_.problem(user, std::int64_t(record.label.size() + record.jsonValue.size()));
        !problem.empty())
        return ApiReply::refused(problem);
    record.parentSign = *parent;
    record.sign = Secrets::randomHex128();
    record.position = *position;
    const auto status = storage_.createPhrase(user.id, record);
    if (!status.ok() || *status != StoreStatus::Ok)
        return ApiReply::fromStatus(status, ReplyText::noParent);
    auto reply = ApiReply::ok();
    reply["sign"] = record.sign;
    return reply;
}

LibraryEndpoints::Json LibraryEndpoints::deletePhrases(const FormData::Fields &form, const UserRecord &user) {
    const auto signs = FormField::signs(form, "sign");
    if (signs.empty())
        return ApiReply::refused(ReplyText::badParameter);
    return ApiReply::fromStatus(storage_.deletePhrases(user.id, signs), ReplyText::noPhrase);
}

LibraryEndpoints::Json LibraryEndpoints::editPhrase(const FormData::Fields &form, const UserRecord &user) {
    const auto sign = FormField::text(form, "sign");
    const auto parent = FormField::text(form, "newParentSign");
    if (!sign || !parent)
        return ApiReply::refused(ReplyText::badParameter);
    PhraseRecord record;
    if (auto problem =
            phraseProblem(FormField::text(form, "newLabel"), FormField::text(form, "newJsonValue"), record);
        !problem.empty())
        return ApiReply::refused(problem);
    // Counted as if added: an edit that shrinks a phrase is refused only when the account is full.
    if (auto problem = quota_.problem(user, std::int64_t(record.label.size() + record.jsonValue.size()));
        !problem.empty())
        return ApiReply::refused(problem);
    record.parentSign = *parent;
    record.sign = *sign;
    const auto status = storage_.updatePhrase(user.id, record);
    if (status.ok() && *status == StoreStatus::NotFound) {
        // Either the phrase or its new class is missing; say which.
        const auto classes = storage_.classes(user.id);
        if (!classes.ok())
            return ApiReply::storageFailed(classes.error());
        const bool parentKnown = std::any_of(classes->begin(), classes->end(),
                                             [&](const ClassRecord &c) { return c.sign == *parent; });
        return ApiReply::refused(parentKnown ? ReplyText::noPhrase : ReplyText::noParent);
    }
    return ApiReply::fromStatus(status, ReplyText::noPhrase);
}

LibraryEndpoints::Json LibraryEndpoints::swapPhrases(const FormData::Fields &form, const UserRecord &user) {
    const auto a = FormField::text(form, "sign1"), b = FormField::text(form, "sign2");
    if (!a || !b)
        return ApiReply::refused(ReplyText::badParameter);
    return ApiReply::fromStatus(storage_.swapPhrases(user.id, *a, *b), ReplyText::noPhrase);
}
