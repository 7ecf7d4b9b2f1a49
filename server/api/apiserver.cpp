#include "api/apiserver.h"

#include "api/accounts.h"
#include "api/contentrules.h"
#include "api/picturename.h"
#include "api/webpages.h"
#include "http/cookiereader.h"
#include "http/gzip.h"
#include "http/proxyaddress.h"
#include "log/servicelog.h"
#include "security/loginguard.h"
#include "security/passwordhash.h"
#include "security/rc4cipher.h"
#include "security/secrets.h"
#include "storage/storage.h"

#include <malloc.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <thread>

namespace {

using Json = nlohmann::json;

constexpr std::int64_t sessionIdle = 30LL * 24 * 3600;
constexpr std::size_t labelMax = 200;
constexpr std::size_t jsonValueMax = 1024 * 1024;
constexpr std::size_t formBodyMax = 4 * 1024 * 1024;
// Room for the multipart framing and the small fields around an upload.
constexpr std::size_t uploadOverhead = 256 * 1024;
const std::string picturePrefix = "/api/resource/word/getImage64/";
const std::string uploadPath = "/api/word/image/uploadImage";

namespace msg {
const char *const badParameter = "参数错误";
const char *const badLogin = "用户名或密码错误";
const char *const deadSession = "登录已失效，请重新登录";
const char *const forbidden = "无权访问";
const char *const noClass = "分类不存在";
const char *const noPhrase = "话术不存在";
const char *const noParent = "所属分类不存在";
const char *const lastClass = "至少需要保留一个分类，不能删除全部分类";
const char *const labelTooLong = "名称不能超过200个字";
const char *const badContent = "话术内容格式错误";
const char *const contentTooLarge = "话术内容过长（最多1MB）";
const char *const badPictureName = "图片名称不合法";
const char *const pictureFormat = "图片格式不支持，请使用 PNG/JPG/GIF/BMP";
const char *const pictureMismatch = "图片内容与名称不符";
const char *const pictureEmpty = "图片内容为空";
const char *const pictureTaken = "同名图片已存在";
const char *const noPicture = "图片不存在";
const char *const bodyTooLarge = "请求内容过大";
const char *const headerTooLarge = "请求头过大";
const char *const noEndpoint = "接口不存在";
const char *const busy = "服务器繁忙，请稍后再试";
const char *const tooManyLogins = "登录尝试过于频繁，请稍后再试";
const char *const internal = "服务器内部错误，请稍后再试";
} // namespace msg

std::int64_t nowSeconds() {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

double steadySeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

Json ok() {
    return Json{{"state", 1}, {"msg", ""}};
}

Json refused(const std::string &text, int state = 0) {
    return Json{{"state", state}, {"msg", text}};
}

HttpServer::Response jsonResponse(const Json &reply, int status = 200) {
    HttpServer::Response res;
    res.status = status;
    res.setBody(reply.dump());
    return res;
}

// Libraries run to hundreds of kilobytes: the cached text is written out without a copy, and
// compressed once when the caller takes gzip (the desktop client's HTTP stack does).
HttpServer::Response sharedResponse(const HttpServer::Request &req,
                                    std::shared_ptr<const LibraryCache::Reply> reply) {
    HttpServer::Response res;
    const bool gzip = !reply->gzip.empty() && req.header("Accept-Encoding").find("gzip") != std::string::npos;
    res.body = gzip ? reply->gzip : reply->plain;
    if (gzip)
        res.headers.emplace_back("Content-Encoding", "gzip");
    res.headers.emplace_back("Vary", "Accept-Encoding");
    res.owner = std::move(reply);
    return res;
}

std::optional<std::string> param(const FormData::Fields &form, const char *name) {
    const auto it = form.find(name);
    if (it == form.end())
        return std::nullopt;
    return it->second;
}

std::optional<std::int64_t> integer(const std::string &text) {
    std::int64_t v = 0;
    const auto *end = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(text.data(), end, v);
    if (ec != std::errc() || ptr != end || text.empty())
        return std::nullopt;
    return v;
}

// "a" or "a|b|": one sign, or several each followed by a bar.
std::vector<std::string> signList(const std::string &text) {
    std::vector<std::string> out;
    std::size_t start = 0;
    while (start < text.size()) {
        auto end = text.find('|', start);
        if (end == std::string::npos)
            end = text.size();
        if (end > start)
            out.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return out;
}

// Empty when the label is acceptable.
std::string labelProblem(const std::optional<std::string> &label) {
    if (!label || label->find('\0') != std::string::npos)
        return msg::badParameter;
    const auto length = ContentRules::utf8Length(*label);
    if (!length)
        return msg::badParameter;
    if (*length > labelMax)
        return msg::labelTooLong;
    return {};
}

std::string contentProblem(const std::optional<std::string> &jsonValue, ContentRules::Derived &derived) {
    if (!jsonValue)
        return msg::badParameter;
    if (jsonValue->size() > jsonValueMax)
        return msg::contentTooLarge;
    auto rules = ContentRules::validate(*jsonValue);
    if (!rules)
        return msg::badContent;
    // Pictures named like uploads are accepted, or the library would point at pictures that can
    // never be stored.
    for (const auto &name : rules->pictures)
        if (!PictureName::isAccepted(name))
            return msg::pictureFormat;
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

Json storageFailure(const StorageError &error) {
    return refused(Accounts::storageFailed(error));
}

Json statusReply(const StorageResult<StoreStatus> &status, const char *notFound) {
    if (!status.ok())
        return storageFailure(status.error());
    switch (*status) {
    case StoreStatus::Ok:
        return ok();
    case StoreStatus::NotFound:
        return refused(notFound);
    case StoreStatus::LastClass:
        return refused(msg::lastClass);
    default:
        return refused(msg::badParameter);
    }
}

std::string waitMessage(std::int64_t seconds) {
    return "登录失败次数过多，请" + std::to_string((seconds + 59) / 60) + "分钟后再试";
}

std::string refusalText(int status) {
    switch (status) {
    case 404:
        return msg::noEndpoint;
    case 413:
        return msg::bodyTooLarge;
    case 429:
        return msg::tooManyLogins;
    case 431:
        return msg::headerTooLarge;
    case 503:
        return msg::busy;
    default:
        return msg::badParameter;
    }
}

} // namespace

ApiServer::ApiServer(ServerConfig config, Storage &storage) : config_(std::move(config)), storage_(storage) {
    workers_ = std::make_unique<WorkerPool>(config_.threads, 4096);
    hashers_ =
        std::make_unique<WorkerPool>(std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, 4), 64);
    HttpServer::Limits limits;
    limits.connections = config_.maxConnections;
    limits.connectionsPerAddress = config_.maxConnectionsPerAddress;
    limits.headerDeadline = limits.handshakeDeadline = std::chrono::seconds(config_.headerTimeout);
    limits.ioThreads = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, 4);
    const std::size_t pictureMax = config_.maxPictureBytes;
    http_ = std::make_unique<HttpServer>(
        limits,
        [this](Request request, HttpServer::Completion done) {
            dispatch(std::move(request), std::move(done));
        },
        [pictureMax](std::string_view path) {
            return path == uploadPath ? pictureMax + uploadOverhead : formBodyMax;
        },
        [](int status) { return refused(refusalText(status)).dump(); });
    routes();
}

ApiServer::~ApiServer() {
    stop();
    // Workers finish what they hold; their replies go nowhere once the server has stopped.
    hashers_->stop();
    workers_->stop();
}

std::string ApiServer::baseUrl() const {
    const bool v6 = config_.listen.find(':') != std::string::npos;
    const std::string host = v6 ? "[" + config_.listen + "]" : config_.listen;
    return std::string(config_.tls() ? "https" : "http") + "://" + host + ":" + std::to_string(http_->port());
}

int ApiServer::run() {
    if (config_.tls()) {
        if (const auto error = http_->useTls(config_.tlsCert, config_.tlsKey)) {
            ServiceLog::line(*error, ServiceLog::Stream::Error);
            return 1;
        }
    }
    if (const auto error = http_->listen(config_.listen, config_.port)) {
        ServiceLog::line("cannot listen on " + config_.listen + ":" + std::to_string(config_.port) + ": " +
                             *error,
                         ServiceLog::Stream::Error);
        return 1;
    }
    http_->every(std::chrono::seconds(60), [this] { workers_->submit([this] { maintain(); }); });
    // Large request bodies come and go; hand freed memory back to the system soon after.
    http_->every(std::chrono::seconds(5), [this] { workers_->submit([] { malloc_trim(0); }); });
    ServiceLog::write("quillora-cloud listening on " + baseUrl());
    http_->run();
    return 0;
}

void ApiServer::stop() {
    http_->stop();
}

void ApiServer::maintain() {
    const auto now = nowSeconds();
    if (const auto purged =
            storage_.purgeExpired(now - sessionIdle, now - LoginGuard::window - LoginGuard::maxDelay);
        !purged.ok())
        ServiceLog::line("purge failed: " + purged.error().message);
    throttle_.purge(steadySeconds());
}

void ApiServer::dispatch(Request request, HttpServer::Completion done) {
    request.peer =
        ProxyAddress::client(request.peer, request.headerValues("X-Forwarded-For"), config_.trustedProxies);
    const auto route = request.method == "POST" ? posts_.find(request.path) : posts_.end();
    const bool hashes = route != posts_.end() && route->second.hashesPasswords;
    // Checked before queueing, so a flood is answered at once and never reaches the hashing.
    const auto address = HttpServer::addressKey(request.peer);
    if (hashes && !throttle_.take(address, steadySeconds()))
        return done(jsonResponse(refused(msg::tooManyLogins), 429));
    // Addresses without recent failures go before the queue a flood's burst may have left.
    const bool urgent = hashes && !throttle_.failedRecently(address, steadySeconds());
    auto task = [this, request = std::move(request), done]() mutable {
        Response response;
        // Storage failures come back as values; what can still throw here is the allocator
        // (std::bad_alloc) and the JSON library, and one request must not end the process.
        try {
            response = handle(request);
        } catch (const std::exception &e) {
            ServiceLog::line(request.path + " failed: " + e.what());
            response = jsonResponse(refused(msg::internal));
        }
        done(std::move(response));
    };
    // A full queue is a refusal now rather than a long wait later.
    if (!(hashes ? hashers_ : workers_)->submit(std::move(task), urgent))
        done(jsonResponse(refused(msg::busy), 503));
}

ApiServer::Response ApiServer::handle(const Request &request) {
    if (request.method == "POST") {
        if (const auto route = posts_.find(request.path); route != posts_.end()) {
            const bool multipart = request.path == uploadPath;
            return route->second.handler(request,
                                         multipart ? Form() : FormData::parseUrlEncoded(request.body));
        }
    } else if (request.method == "GET") {
        if (request.path == "/") {
            Response res;
            res.contentType = "text/html; charset=utf-8";
            res.setBody(WebPages::index());
            return res;
        }
        if (request.path.rfind(picturePrefix, 0) == 0)
            return jsonResponse(picture(request.path.substr(picturePrefix.size())));
    }
    return jsonResponse(refused(msg::noEndpoint), 404);
}

void ApiServer::post(const std::string &path, std::function<Json(const Request &, const Form &)> handler) {
    posts_[path].handler = [handler = std::move(handler)](const Request &req, const Form &form) {
        return jsonResponse(handler(req, form));
    };
}

StorageResult<std::optional<UserRecord>> ApiServer::sessionUser(const Request &req) {
    const auto now = nowSeconds();
    for (const auto &token : CookieReader::sessionTokens(req.headerValues("Cookie")))
        if (auto user = storage_.sessionUser(Secrets::digestHex(token), now, sessionIdle);
            !user.ok() || *user)
            return user;
    return std::optional<UserRecord>();
}

std::string ApiServer::quotaProblem(const UserRecord &user, std::int64_t adding) {
    const auto used = storage_.storageUsed(user.id);
    if (!used.ok())
        return Accounts::storageFailed(used.error());
    if (*used + adding <= config_.quotaBytes)
        return {};
    return "云端存储空间已满（每个账号最多" + std::to_string(config_.quotaBytes / (1024 * 1024)) +
           "MB），请删除部分话术或图片后再试";
}

void ApiServer::postLibrary(const std::string &path, UserHandler handler) {
    post(path, [this, handler = std::move(handler)](const Request &req, const Form &form) -> Json {
        const auto user = sessionUser(req);
        if (!user.ok())
            return storageFailure(user.error());
        if (!*user)
            return refused(msg::deadSession);
        const auto dbname = param(form, "dbname");
        if (!dbname)
            return refused(msg::badParameter);
        if (Accounts::nameKey(*dbname) != Accounts::nameKey((*user)->name))
            return refused(msg::forbidden);
        return handler(form, **user);
    });
}

void ApiServer::routes() {
    post("/api/util/osx/getVersionForm", [this](const Request &, const Form &) {
        auto reply = ok();
        reply["version"] = config_.minVersion;
        reply["url"] = config_.downloadUrl.empty() ? baseUrl() + "/" : config_.downloadUrl;
        return reply;
    });
    post("/api/ios/getIsTourist", [this](const Request &req, const Form &) {
        const auto user = sessionUser(req);
        if (!user.ok())
            return storageFailure(user.error());
        auto reply = ok();
        reply["re"] = *user ? 0 : 1;
        return reply;
    });
    posts_["/api/osx/login"] = {[this](const Request &req, const Form &form) { return login(req, form); },
                                true};
    post("/api/user/getUserInfo", [this](const Request &req, const Form &) {
        const auto user = sessionUser(req);
        if (!user.ok())
            return storageFailure(user.error());
        if (!*user)
            return refused(msg::deadSession);
        auto reply = ok();
        reply["username"] = (*user)->name;
        return reply;
    });
    post("/api/user/SyncCheckOSX", [this](const Request &req, const Form &) {
        const auto user = sessionUser(req);
        if (!user.ok())
            return storageFailure(user.error());
        return *user ? ok() : refused(msg::deadSession, -1);
    });

    // Classes.
    postLibrary("/api/word/class/create", [this](const Form &form, const UserRecord &user) {
        const auto label = param(form, "label");
        if (auto problem = labelProblem(label); !problem.empty())
            return refused(problem);
        const auto position = integer(param(form, "position").value_or(""));
        if (!position)
            return refused(msg::badParameter);
        const auto sign = Secrets::randomHex128();
        if (const auto created = storage_.createClass(user.id, sign, *label, *position); !created.ok())
            return storageFailure(created.error());
        auto reply = ok();
        reply["sign"] = sign;
        return reply;
    });
    postLibrary("/api/word/class/del", [this](const Form &form, const UserRecord &user) {
        const auto signs = signList(param(form, "sign").value_or(""));
        if (signs.empty())
            return refused(msg::badParameter);
        return statusReply(storage_.deleteClasses(user.id, signs), msg::noClass);
    });
    postLibrary("/api/word/class/upLabel", [this](const Form &form, const UserRecord &user) {
        const auto sign = param(form, "sign");
        const auto label = param(form, "newLabel");
        if (!sign)
            return refused(msg::badParameter);
        if (auto problem = labelProblem(label); !problem.empty())
            return refused(problem);
        return statusReply(storage_.setClassLabel(user.id, *sign, *label), msg::noClass);
    });
    postLibrary("/api/word/class/swapPosition", [this](const Form &form, const UserRecord &user) {
        const auto a = param(form, "sign1"), b = param(form, "sign2");
        if (!a || !b)
            return refused(msg::badParameter);
        return statusReply(storage_.swapClasses(user.id, *a, *b), msg::noClass);
    });
    posts_["/api/word/class/getAll"].handler = [this](const Request &req, const Form &form) {
        return libraryRead(req, form, LibraryCache::Kind::Classes);
    };

    // Phrases ("swapPostion" is the path the client uses).
    postLibrary("/api/word/list/create",
                [this](const Form &form, const UserRecord &user) { return createPhrase(form, user); });
    postLibrary("/api/word/list/del", [this](const Form &form, const UserRecord &user) {
        const auto signs = signList(param(form, "sign").value_or(""));
        if (signs.empty())
            return refused(msg::badParameter);
        return statusReply(storage_.deletePhrases(user.id, signs), msg::noPhrase);
    });
    postLibrary("/api/word/list/upValue",
                [this](const Form &form, const UserRecord &user) { return updatePhrase(form, user); });
    postLibrary("/api/word/list/swapPostion", [this](const Form &form, const UserRecord &user) {
        const auto a = param(form, "sign1"), b = param(form, "sign2");
        if (!a || !b)
            return refused(msg::badParameter);
        return statusReply(storage_.swapPhrases(user.id, *a, *b), msg::noPhrase);
    });
    posts_["/api/word/list/getAll"].handler = [this](const Request &req, const Form &form) {
        return libraryRead(req, form, LibraryCache::Kind::Phrases);
    };

    // Pictures (the download is a GET, see handle()).
    post("/api/word/image/imageNameExist", [this](const Request &, const Form &form) {
        const auto name = param(form, "fileName");
        if (!name || !PictureName::isPlain(*name))
            return refused(msg::badPictureName);
        // A name that is not a content digest is never stored, so the client uploads it and hears why.
        if (!PictureName::isAccepted(*name))
            return refused(msg::pictureFormat);
        const auto exists = storage_.pictureExists(*name);
        if (!exists.ok())
            return storageFailure(exists.error());
        return *exists ? ok() : refused(msg::noPicture);
    });
    post(uploadPath, [this](const Request &req, const Form &) { return uploadPicture(req); });

    // Web pages for registration and password change.
    posts_["/api/web/register"] = {[this](const Request &req, const Form &form) {
                                       auto reply = webRegister(form);
                                       if (reply.value("state", 0) == 1)
                                           throttle_.giveBack(HttpServer::addressKey(req.peer));
                                       return jsonResponse(reply);
                                   },
                                   true};
    posts_["/api/web/reset"] = {
        [this](const Request &req, const Form &form) { return jsonResponse(webReset(req, form)); }, true};
}

ApiServer::Response ApiServer::libraryRead(const Request &req, const Form &form, LibraryCache::Kind kind) {
    const auto session = sessionUser(req);
    const auto dbname = param(form, "dbname");
    if (!session.ok())
        return jsonResponse(storageFailure(session.error()));
    const auto &user = *session;
    if (!user)
        return jsonResponse(refused(msg::deadSession));
    if (!dbname)
        return jsonResponse(refused(msg::badParameter));
    if (Accounts::nameKey(*dbname) != Accounts::nameKey(user->name))
        return jsonResponse(refused(msg::forbidden));
    const auto version = storage_.libraryVersion(user->id);
    if (!version.ok())
        return jsonResponse(storageFailure(version.error()));
    std::optional<StorageError> failure; // why nothing was built
    auto reply = cache_.get(user->id, kind, *version, [&]() -> std::shared_ptr<const LibraryCache::Reply> {
        auto reply = ok();
        auto &data = reply["data"] = Json::array();
        if (kind == LibraryCache::Kind::Classes) {
            const auto classes = storage_.classes(user->id);
            if (!classes.ok()) {
                failure = classes.error();
                return nullptr;
            }
            for (const auto &c : *classes)
                data.push_back(Json{{"id", c.id},
                                    {"sign", c.sign},
                                    {"label", c.label},
                                    {"position", c.position},
                                    {"username", user->name}});
        } else {
            const auto phrases = storage_.phrases(user->id);
            if (!phrases.ok()) {
                failure = phrases.error();
                return nullptr;
            }
            for (const auto &p : *phrases)
                data.push_back(Json{{"id", p.id},
                                    {"parentSign", p.parentSign},
                                    {"sign", p.sign},
                                    {"label", p.label},
                                    {"jsonValue", p.jsonValue},
                                    {"texts", p.texts},
                                    {"images", p.images},
                                    {"position", p.position},
                                    {"username", user->name},
                                    {"keycode", ""},
                                    {"bgColor", ""}});
        }
        auto built = std::make_shared<LibraryCache::Reply>();
        built->plain = reply.dump(-1, ' ', false, Json::error_handler_t::replace);
        built->gzip = Gzip::compress(built->plain).value_or(std::string());
        return std::shared_ptr<const LibraryCache::Reply>(std::move(built));
    });
    if (!reply)
        return jsonResponse(storageFailure(*failure));
    return sharedResponse(req, std::move(reply));
}

std::optional<std::string> ApiServer::guardedCheck(const Request &req, const std::string &nameKey,
                                                   const std::function<bool()> &verify, const char *badText) {
    const auto address = HttpServer::addressKey(req.peer);
    const auto now = nowSeconds();
    // The account's waiting time binds only addresses that failed recently: its owner, trying
    // from a clean address with the right password, still gets in.
    const auto wait = LoginGuard::waitFor(storage_, nameKey, now);
    if (!wait.ok())
        return Accounts::storageFailed(wait.error());
    if (*wait > 0 && throttle_.failedRecently(address, steadySeconds()))
        return waitMessage(*wait);
    if (!verify()) {
        throttle_.failed(address, steadySeconds());
        const auto delay = LoginGuard::failed(storage_, nameKey, now);
        if (!delay.ok())
            return Accounts::storageFailed(delay.error());
        if (*delay)
            return waitMessage(*delay);
        return std::string(badText);
    }
    throttle_.giveBack(address);
    if (const auto cleared = LoginGuard::succeeded(storage_, nameKey); !cleared.ok())
        return Accounts::storageFailed(cleared.error());
    return std::nullopt;
}

ApiServer::Response ApiServer::login(const Request &req, const Form &form) {
    const auto name = param(form, "usernames");
    auto cipher = param(form, "password");
    const auto raw = cipher ? Secrets::fromBase64([&] {
        // A client that leaves "+" unescaped in the form has it decoded as a blank.
        std::replace(cipher->begin(), cipher->end(), ' ', '+');
        return *cipher;
    }())
                            : std::nullopt;
    if (!name || !raw) {
        throttle_.giveBack(HttpServer::addressKey(req.peer));
        return jsonResponse(refused(msg::badParameter));
    }
    const auto password = Rc4Cipher::apply(*raw, Rc4Cipher::passwordKey());
    const auto key = Accounts::nameKey(*name);
    const auto found = storage_.findUser(key);
    if (!found.ok())
        return jsonResponse(storageFailure(found.error()));
    const auto &user = *found;
    const auto problem = guardedCheck(
        req, key,
        [&] {
            if (user)
                return PasswordHash::verify(user->passwordHash, password);
            PasswordHash::verifyDummy(password);
            return false;
        },
        msg::badLogin);
    if (problem)
        return jsonResponse(refused(*problem));
    const auto token = Secrets::randomHex128();
    if (const auto created =
            storage_.createSession(Secrets::digestHex(token), user->id, nowSeconds(), config_.singleSession);
        !created.ok())
        return jsonResponse(storageFailure(created.error()));
    auto reply = ok();
    reply["username"] = user->name;
    auto res = jsonResponse(reply);
    res.headers.emplace_back("Set-Cookie", CookieReader::sessionCookieName() + "=" + token +
                                               "; Path=/; HttpOnly; SameSite=Lax" +
                                               (config_.tls() ? "; Secure" : ""));
    return res;
}

Json ApiServer::createPhrase(const Form &form, const UserRecord &user) {
    const auto parent = param(form, "parentSign");
    const auto label = param(form, "label");
    const auto position = integer(param(form, "position").value_or(""));
    if (!parent || !position)
        return refused(msg::badParameter);
    PhraseRecord record;
    if (auto problem = phraseProblem(label, param(form, "jsonValue"), record); !problem.empty())
        return refused(problem);
    if (auto problem = quotaProblem(user, std::int64_t(record.label.size() + record.jsonValue.size()));
        !problem.empty())
        return refused(problem);
    record.parentSign = *parent;
    record.sign = Secrets::randomHex128();
    record.position = *position;
    const auto status = storage_.createPhrase(user.id, record);
    if (!status.ok() || *status != StoreStatus::Ok)
        return statusReply(status, msg::noParent);
    auto reply = ok();
    reply["sign"] = record.sign;
    return reply;
}

Json ApiServer::updatePhrase(const Form &form, const UserRecord &user) {
    const auto sign = param(form, "sign");
    const auto parent = param(form, "newParentSign");
    const auto label = param(form, "newLabel");
    if (!sign || !parent)
        return refused(msg::badParameter);
    PhraseRecord record;
    if (auto problem = phraseProblem(label, param(form, "newJsonValue"), record); !problem.empty())
        return refused(problem);
    // Counted as if added: an edit that shrinks a phrase is refused only when the account is full.
    if (auto problem = quotaProblem(user, std::int64_t(record.label.size() + record.jsonValue.size()));
        !problem.empty())
        return refused(problem);
    record.parentSign = *parent;
    record.sign = *sign;
    // Not found means either the phrase or its new class; say which.
    const auto status = storage_.updatePhrase(user.id, record);
    if (status.ok() && *status == StoreStatus::NotFound) {
        const auto classes = storage_.classes(user.id);
        if (!classes.ok())
            return storageFailure(classes.error());
        const bool parentKnown = std::any_of(classes->begin(), classes->end(),
                                             [&](const ClassRecord &c) { return c.sign == *parent; });
        return refused(parentKnown ? msg::noPhrase : msg::noParent);
    }
    return statusReply(status, msg::noPhrase);
}

Json ApiServer::uploadPicture(const Request &req) {
    const auto form = FormData::parseMultipart(req.header("Content-Type"), req.body);
    if (!form)
        return refused(msg::badParameter);
    const auto session = sessionUser(req);
    if (!session.ok())
        return storageFailure(session.error());
    const auto &user = *session;
    if (!user)
        return refused(msg::deadSession);
    const auto dbname = param(*form, "dbname");
    const auto name = param(*form, "filename");
    const auto file = param(*form, "file");
    if (!dbname || !name || !file)
        return refused(msg::badParameter);
    if (Accounts::nameKey(*dbname) != Accounts::nameKey(user->name))
        return refused(msg::forbidden);
    if (!PictureName::isPlain(*name))
        return refused(msg::badPictureName);
    if (!PictureName::isAccepted(*name))
        return refused(msg::pictureFormat);
    if (file->empty())
        return refused(msg::pictureEmpty);
    if (file->size() > config_.maxPictureBytes)
        return refused("图片过大（最多" + std::to_string(config_.maxPictureBytes / (1024 * 1024)) + "MB）");
    if (!PictureName::matchesContent(*name, *file))
        return refused(msg::pictureMismatch);
    if (auto problem = quotaProblem(*user, std::int64_t(file->size())); !problem.empty())
        return refused(problem);
    const auto stored = storage_.storePicture(*name, *file, nowSeconds(), user->id);
    if (!stored.ok())
        return storageFailure(stored.error());
    if (*stored == StoreStatus::DifferentBytes)
        return refused(msg::pictureTaken);
    return ok();
}

Json ApiServer::picture(const std::string &encodedName) {
    const auto name = Secrets::fromBase64(encodedName);
    if (!name || !PictureName::isPlain(*name))
        return refused(msg::badPictureName);
    const auto bytes = storage_.picture(*name);
    if (!bytes.ok())
        return storageFailure(bytes.error());
    if (!*bytes)
        return refused(msg::noPicture);
    auto reply = ok();
    reply["base64"] = Secrets::toBase64(**bytes);
    return reply;
}

Json ApiServer::webRegister(const Form &form) {
    const auto name = param(form, "username");
    const auto password = param(form, "password");
    if (!name || !password)
        return refused(msg::badParameter);
    if (const auto problem = Accounts::create(storage_, *name, *password, 6))
        return refused(*problem);
    return ok();
}

Json ApiServer::webReset(const Request &req, const Form &form) {
    const auto name = param(form, "username");
    const auto oldPassword = param(form, "oldPassword");
    const auto newPassword = param(form, "newPassword");
    auto problem = !name || !oldPassword || !newPassword ? std::optional<std::string>(msg::badParameter)
                                                         : Accounts::checkPassword(*newPassword, 6);
    if (problem) {
        throttle_.giveBack(HttpServer::addressKey(req.peer));
        return refused(*problem);
    }
    const auto key = Accounts::nameKey(*name);
    const auto found = storage_.findUser(key);
    if (!found.ok())
        return storageFailure(found.error());
    const auto &user = *found;
    problem = guardedCheck(
        req, key,
        [&] {
            if (user)
                return PasswordHash::verify(user->passwordHash, *oldPassword);
            PasswordHash::verifyDummy(*oldPassword);
            return false;
        },
        "用户名或原密码错误");
    if (problem)
        return refused(*problem);
    if (const auto failed = Accounts::setPassword(storage_, user->name, *newPassword, 6))
        return refused(*failed);
    return ok();
}
