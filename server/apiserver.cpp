#include "apiserver.h"

#include "accounts.h"
#include "contentrules.h"
#include "cookiereader.h"
#include "gzip.h"
#include "loginguard.h"
#include "passwordhash.h"
#include "picturename.h"
#include "rc4cipher.h"
#include "requestlog.h"
#include "secrets.h"
#include "storage.h"
#include "webpages.h"

#include <httplib.h>

#include <netinet/in.h>
#include <sys/socket.h>

#include <charconv>
#include <chrono>
#include <cstdio>
#include <iostream>

namespace {

using Json = nlohmann::json;

constexpr std::int64_t sessionIdle = 30LL * 24 * 3600;
constexpr std::size_t labelMax = 200;
constexpr std::size_t jsonValueMax = 1024 * 1024;
constexpr std::size_t formBodyMax = 4 * 1024 * 1024;

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
const char *const pictureMismatch = "图片内容与名称不符";
const char *const pictureEmpty = "图片内容为空";
const char *const pictureTaken = "同名图片已存在";
const char *const noPicture = "图片不存在";
const char *const bodyTooLarge = "请求内容过大";
const char *const noEndpoint = "接口不存在";
const char *const internal = "服务器内部错误，请稍后再试";
} // namespace msg

std::int64_t nowSeconds() {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

Json ok() {
    return Json{{"state", 1}, {"msg", ""}};
}

Json refused(const std::string &text, int state = 0) {
    return Json{{"state", state}, {"msg", text}};
}

void send(httplib::Response &res, const std::string &body) {
    res.status = 200;
    res.set_content(body, "application/json; charset=utf-8");
}

// Libraries run to hundreds of kilobytes: the cached text is written out without a copy, and
// compressed once when the caller takes gzip (the desktop client's HTTP stack does).
void sendShared(const httplib::Request &req, httplib::Response &res,
                std::shared_ptr<const LibraryCache::Reply> reply) {
    res.status = 200;
    const bool gzip =
        !reply->gzip.empty() && req.get_header_value("Accept-Encoding").find("gzip") != std::string::npos;
    const std::string &body = gzip ? reply->gzip : reply->plain;
    if (gzip)
        res.set_header("Content-Encoding", "gzip");
    res.set_header("Vary", "Accept-Encoding");
    res.set_content_provider(body.size(), "application/json; charset=utf-8",
                             [reply = std::move(reply), data = body.data()](
                                 std::size_t offset, std::size_t length, httplib::DataSink &sink) {
                                 return sink.write(data + offset, length);
                             });
}

std::optional<std::string> param(const httplib::Params &form, const char *name) {
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
    if (!label)
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

Json statusReply(StoreStatus status, const char *notFound) {
    switch (status) {
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

std::string lockMessage(std::int64_t seconds) {
    return "登录失败次数过多，请" + std::to_string((seconds + 59) / 60) + "分钟后再试";
}

// The HTTP library listens with a backlog of 5, fixed when it was built; a burst of clients connecting
// at once would then wait for SYN retries. Find our listening socket and listen again with a real
// backlog (Linux updates the backlog of a socket that already listens).
void widenBacklog(int port) {
    for (int fd = 0; fd < 1024; ++fd) {
        int listening = 0;
        socklen_t len = sizeof listening;
        if (getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &listening, &len) != 0 || !listening)
            continue;
        sockaddr_storage addr{};
        socklen_t addrLen = sizeof addr;
        if (getsockname(fd, reinterpret_cast<sockaddr *>(&addr), &addrLen) != 0)
            continue;
        int boundPort = -1;
        if (addr.ss_family == AF_INET)
            boundPort = ntohs(reinterpret_cast<sockaddr_in *>(&addr)->sin_port);
        else if (addr.ss_family == AF_INET6)
            boundPort = ntohs(reinterpret_cast<sockaddr_in6 *>(&addr)->sin6_port);
        if (boundPort == port)
            ::listen(fd, SOMAXCONN);
    }
}

} // namespace

ApiServer::ApiServer(ServerConfig config, Storage &storage) : config_(std::move(config)), storage_(storage) {
    if (config_.tls())
        server_ = std::make_unique<httplib::SSLServer>(config_.tlsCert.c_str(), config_.tlsKey.c_str());
    else
        server_ = std::make_unique<httplib::Server>();
    const std::size_t threads = config_.threads;
    server_->new_task_queue = [threads] { return new httplib::ThreadPool(threads); };
    server_->set_tcp_nodelay(true);
    server_->set_keep_alive_max_count(100000);
    // Every open connection holds a request thread; idle ones give it back soon.
    server_->set_keep_alive_timeout(5);
    server_->set_read_timeout(30);
    server_->set_write_timeout(30);
    server_->set_payload_max_length(std::max(formBodyMax, config_.maxPictureBytes + 64 * 1024));
    routes();
}

ApiServer::~ApiServer() = default;

std::string ApiServer::baseUrl() const {
    const bool v6 = config_.listen.find(':') != std::string::npos;
    const std::string host = v6 ? "[" + config_.listen + "]" : config_.listen;
    return std::string(config_.tls() ? "https" : "http") + "://" + host + ":" + std::to_string(boundPort_);
}

int ApiServer::run() {
    if (!server_->is_valid()) {
        std::cerr << "quillora-cloud: cannot use the TLS certificate or key" << std::endl;
        return 1;
    }
    boundPort_ = config_.port == 0
                     ? server_->bind_to_any_port(config_.listen)
                     : (server_->bind_to_port(config_.listen, config_.port) ? config_.port : -1);
    if (boundPort_ <= 0) {
        std::cerr << "quillora-cloud: cannot listen on " << config_.listen << ":" << config_.port
                  << std::endl;
        return 1;
    }
    widenBacklog(boundPort_);
    std::cout << "quillora-cloud listening on " << baseUrl() << std::endl;
    return server_->listen_after_bind() ? 0 : 1;
}

void ApiServer::stop() {
    server_->stop();
}

void ApiServer::post(const std::string &path, Handler handler) {
    // The body is read here rather than by the library, whose own form parsing stops at 8 KiB.
    server_->Post(path, [handler = std::move(handler)](const httplib::Request &req, httplib::Response &res,
                                                       const httplib::ContentReader &reader) {
        Json reply;
        try {
            std::string body;
            bool tooLarge = false;
            // Past the cap the rest is read and dropped (the payload limit bounds it), so the caller
            // can finish sending and hear the refusal.
            const bool complete = reader([&](const char *data, std::size_t n) {
                tooLarge = tooLarge || body.size() + n > formBodyMax;
                if (!tooLarge)
                    body.append(data, n);
                return true;
            });
            // A read cut short is the payload limit at work (or a peer gone, who hears nothing).
            if (tooLarge || !complete) {
                reply = refused(msg::bodyTooLarge);
                res.status = 413;
                res.set_content(reply.dump(), "application/json; charset=utf-8");
                return;
            }
            httplib::Params form;
            httplib::detail::parse_query_text(body, form);
            reply = handler(req, form, res);
        } catch (const std::exception &e) {
            std::fprintf(stderr, "quillora-cloud: %s failed: %s\n", req.path.c_str(), e.what());
            reply = refused(msg::internal);
        }
        if (!reply.is_null())
            send(res, reply.dump());
    });
}

std::optional<UserRecord> ApiServer::sessionUser(const httplib::Request &req) {
    std::vector<std::string> headers;
    for (std::size_t i = 0, n = req.get_header_value_count("Cookie"); i < n; ++i)
        headers.push_back(req.get_header_value("Cookie", i));
    const auto now = nowSeconds();
    for (const auto &token : CookieReader::sessionTokens(headers))
        if (auto user = storage_.sessionUser(Secrets::digestHex(token), now, sessionIdle))
            return user;
    return std::nullopt;
}

void ApiServer::postLibrary(const std::string &path, UserHandler handler) {
    post(path,
         [this, handler = std::move(handler)](const httplib::Request &req, const Form &form,
                                              httplib::Response &) -> Json {
             const auto user = sessionUser(req);
             if (!user)
                 return refused(msg::deadSession);
             const auto dbname = param(form, "dbname");
             if (!dbname)
                 return refused(msg::badParameter);
             if (Accounts::nameKey(*dbname) != Accounts::nameKey(user->name))
                 return refused(msg::forbidden);
             return handler(form, *user);
         });
}

void ApiServer::routes() {
    server_->set_pre_routing_handler([](const httplib::Request &, httplib::Response &) {
        RequestLog::markStart();
        return httplib::Server::HandlerResponse::Unhandled;
    });
    server_->set_logger([](const httplib::Request &req, const httplib::Response &res) {
        RequestLog::write(req.method, req.path, res.status);
    });
    server_->set_error_handler([](const httplib::Request &, httplib::Response &res) {
        const char *text = res.status == 413   ? msg::bodyTooLarge
                           : res.status == 404 ? msg::noEndpoint
                                               : msg::badParameter;
        res.set_content(refused(text).dump(), "application/json; charset=utf-8");
    });

    post("/api/util/osx/getVersionForm", [this](const httplib::Request &, const Form &, httplib::Response &) {
        auto reply = ok();
        reply["version"] = config_.minVersion;
        reply["url"] = config_.downloadUrl.empty() ? baseUrl() + "/" : config_.downloadUrl;
        return reply;
    });
    post("/api/ios/getIsTourist", [this](const httplib::Request &req, const Form &, httplib::Response &) {
        auto reply = ok();
        reply["re"] = sessionUser(req) ? 0 : 1;
        return reply;
    });
    post("/api/osx/login", [this](const httplib::Request &, const Form &form, httplib::Response &res) {
        return login(form, res);
    });
    post("/api/user/getUserInfo", [this](const httplib::Request &req, const Form &, httplib::Response &) {
        const auto user = sessionUser(req);
        if (!user)
            return refused(msg::deadSession);
        auto reply = ok();
        reply["username"] = user->name;
        return reply;
    });
    post("/api/user/SyncCheckOSX", [this](const httplib::Request &req, const Form &, httplib::Response &) {
        return sessionUser(req) ? ok() : refused(msg::deadSession, -1);
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
        storage_.createClass(user.id, sign, *label, *position);
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
    post("/api/word/class/getAll",
         [this](const httplib::Request &req, const Form &form, httplib::Response &res) {
             return libraryRead(req, form, res, LibraryCache::Kind::Classes);
         });

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
    post("/api/word/list/getAll",
         [this](const httplib::Request &req, const Form &form, httplib::Response &res) {
             return libraryRead(req, form, res, LibraryCache::Kind::Phrases);
         });

    // Pictures.
    server_->Get(R"(/api/resource/word/getImage64/(.*))",
                 [this](const httplib::Request &req, httplib::Response &res) {
                     Json reply;
                     try {
                         reply = picture(req.matches[1].str());
                     } catch (const std::exception &e) {
                         std::fprintf(stderr, "quillora-cloud: picture failed: %s\n", e.what());
                         reply = refused(msg::internal);
                     }
                     send(res, reply.dump());
                 });
    post("/api/word/image/imageNameExist",
         [this](const httplib::Request &, const Form &form, httplib::Response &) {
             const auto name = param(form, "fileName");
             if (!name || !PictureName::isPlain(*name))
                 return refused(msg::badPictureName);
             return storage_.pictureExists(*name) ? ok() : refused(msg::noPicture);
         });
    server_->Post("/api/word/image/uploadImage", [this](const httplib::Request &req, httplib::Response &res) {
        Json reply;
        try {
            reply = uploadPicture(req);
        } catch (const std::exception &e) {
            std::fprintf(stderr, "quillora-cloud: upload failed: %s\n", e.what());
            reply = refused(msg::internal);
        }
        send(res, reply.dump());
    });

    // Web pages for registration and password change.
    server_->Get("/", [](const httplib::Request &, httplib::Response &res) {
        res.set_content(WebPages::index(), "text/html; charset=utf-8");
    });
    post("/api/web/register", [this](const httplib::Request &, const Form &form, httplib::Response &) {
        return webRegister(form);
    });
    post("/api/web/reset",
         [this](const httplib::Request &, const Form &form, httplib::Response &) { return webReset(form); });
}

Json ApiServer::libraryRead(const httplib::Request &req, const Form &form, httplib::Response &res,
                            LibraryCache::Kind kind) {
    const auto user = sessionUser(req);
    const auto dbname = param(form, "dbname");
    if (!user)
        return refused(msg::deadSession);
    if (!dbname)
        return refused(msg::badParameter);
    if (Accounts::nameKey(*dbname) != Accounts::nameKey(user->name))
        return refused(msg::forbidden);
    const auto version = storage_.libraryVersion(user->id);
    if (auto cached = cache_.find(user->id, kind, version)) {
        sendShared(req, res, std::move(cached));
        return Json();
    }
    auto reply = ok();
    auto &data = reply["data"] = Json::array();
    if (kind == LibraryCache::Kind::Classes) {
        for (const auto &c : storage_.classes(user->id))
            data.push_back(Json{{"id", c.id},
                                {"sign", c.sign},
                                {"label", c.label},
                                {"position", c.position},
                                {"username", user->name}});
    } else {
        for (const auto &p : storage_.phrases(user->id))
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
    std::shared_ptr<const LibraryCache::Reply> shared = std::move(built);
    cache_.store(user->id, kind, version, shared);
    sendShared(req, res, std::move(shared));
    return Json();
}

Json ApiServer::login(const Form &form, httplib::Response &res) {
    const auto name = param(form, "usernames");
    auto cipher = param(form, "password");
    if (!name || !cipher)
        return refused(msg::badParameter);
    // A client that leaves "+" unescaped in the form has it decoded as a blank.
    std::replace(cipher->begin(), cipher->end(), ' ', '+');
    const auto key = Accounts::nameKey(*name);
    const auto now = nowSeconds();
    if (const auto locked = LoginGuard::lockedFor(storage_, key, now))
        return refused(lockMessage(locked));
    const auto raw = Secrets::fromBase64(*cipher);
    if (!raw)
        return refused(msg::badParameter);
    const auto password = Rc4Cipher::apply(*raw, Rc4Cipher::passwordKey());
    const auto user = storage_.findUser(key);
    bool good = false;
    if (user)
        good = PasswordHash::verify(user->passwordHash, password);
    else
        PasswordHash::verifyDummy(password);
    if (!good) {
        if (const auto locked = LoginGuard::failed(storage_, key, now))
            return refused(lockMessage(locked));
        return refused(msg::badLogin);
    }
    LoginGuard::succeeded(storage_, key);
    const auto token = Secrets::randomHex128();
    storage_.createSession(Secrets::digestHex(token), user->id, now, config_.singleSession);
    res.set_header("Set-Cookie", CookieReader::sessionCookieName() + "=" + token + "; Path=/; HttpOnly" +
                                     (config_.tls() ? "; Secure" : ""));
    auto reply = ok();
    reply["username"] = user->name;
    return reply;
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
    record.parentSign = *parent;
    record.sign = Secrets::randomHex128();
    record.position = *position;
    const auto status = storage_.createPhrase(user.id, record);
    if (status != StoreStatus::Ok)
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
    record.parentSign = *parent;
    record.sign = *sign;
    // Not found means either the phrase or its new class; say which.
    const auto status = storage_.updatePhrase(user.id, record);
    if (status == StoreStatus::NotFound) {
        const auto classes = storage_.classes(user.id);
        const bool parentKnown = std::any_of(classes.begin(), classes.end(),
                                             [&](const ClassRecord &c) { return c.sign == *parent; });
        return refused(parentKnown ? msg::noPhrase : msg::noParent);
    }
    return statusReply(status, msg::noPhrase);
}

Json ApiServer::uploadPicture(const httplib::Request &req) {
    if (!req.is_multipart_form_data())
        return refused(msg::badParameter);
    const auto user = sessionUser(req);
    if (!user)
        return refused(msg::deadSession);
    if (!req.has_file("dbname") || !req.has_file("filename") || !req.has_file("file"))
        return refused(msg::badParameter);
    if (Accounts::nameKey(req.get_file_value("dbname").content) != Accounts::nameKey(user->name))
        return refused(msg::forbidden);
    const auto name = req.get_file_value("filename").content;
    if (!PictureName::isPlain(name))
        return refused(msg::badPictureName);
    const auto file = req.get_file_value("file");
    if (file.content.empty())
        return refused(msg::pictureEmpty);
    if (file.content.size() > config_.maxPictureBytes)
        return refused("图片过大（最多" + std::to_string(config_.maxPictureBytes / (1024 * 1024)) + "MB）");
    if (!PictureName::matchesContent(name, file.content))
        return refused(msg::pictureMismatch);
    const auto status = storage_.storePicture(name, file.content, nowSeconds());
    if (status == StoreStatus::DifferentBytes)
        return refused(msg::pictureTaken);
    return ok();
}

Json ApiServer::picture(const std::string &encodedName) {
    const auto name = Secrets::fromBase64(encodedName);
    if (!name || !PictureName::isPlain(*name))
        return refused(msg::badPictureName);
    const auto bytes = storage_.picture(*name);
    if (!bytes)
        return refused(msg::noPicture);
    auto reply = ok();
    reply["base64"] = Secrets::toBase64(*bytes);
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

Json ApiServer::webReset(const Form &form) {
    const auto name = param(form, "username");
    const auto oldPassword = param(form, "oldPassword");
    const auto newPassword = param(form, "newPassword");
    if (!name || !oldPassword || !newPassword)
        return refused(msg::badParameter);
    if (const auto problem = Accounts::checkPassword(*newPassword, 6))
        return refused(*problem);
    const auto key = Accounts::nameKey(*name);
    const auto now = nowSeconds();
    if (const auto locked = LoginGuard::lockedFor(storage_, key, now))
        return refused(lockMessage(locked));
    const auto user = storage_.findUser(key);
    bool good = false;
    if (user)
        good = PasswordHash::verify(user->passwordHash, *oldPassword);
    else
        PasswordHash::verifyDummy(*oldPassword);
    if (!good) {
        if (const auto locked = LoginGuard::failed(storage_, key, now))
            return refused(lockMessage(locked));
        return refused("用户名或原密码错误");
    }
    LoginGuard::succeeded(storage_, key);
    if (const auto problem = Accounts::setPassword(storage_, user->name, *newPassword, 6))
        return refused(*problem);
    return ok();
}
