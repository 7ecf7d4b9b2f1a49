#include "api/accountendpoints.h"

#include "api/accounts.h"
#include "api/apireply.h"
#include "api/formfield.h"
#include "api/replytext.h"
#include "api/serviceclock.h"
#include "api/sessions.h"
#include "api/signincheck.h"
#include "http/cookiereader.h"
#include "security/rc4cipher.h"
#include "security/secrets.h"
#include "storage/storage.h"

#include <algorithm>

void AccountEndpoints::addRoutes(RouteTable &routes) {
    routes.add("POST", "/api/util/osx/getVersionForm",
               {[this](const RouteTable::Call &) { return version(); }});
    routes.add("POST", "/api/ios/getIsTourist", {[this](const RouteTable::Call &c) { return tourist(c); }});
    routes.add("POST", "/api/osx/login",
               {.handler = [this](const RouteTable::Call &c) { return login(c); },
                .checksPasswords = true,
                .nameField = "usernames"});
    routes.add("POST", "/api/user/getUserInfo", {[this](const RouteTable::Call &c) { return userInfo(c); }});
    routes.add("POST", "/api/user/SyncCheckOSX",
               {[this](const RouteTable::Call &c) { return heartbeat(c); }});
}

HttpServer::Response AccountEndpoints::version() const {
    auto reply = ApiReply::ok();
    reply["version"] = options_.minVersion;
    reply["url"] = options_.downloadUrl();
    return ApiReply::send(reply);
}

HttpServer::Response AccountEndpoints::tourist(const RouteTable::Call &call) {
    const auto user = sessions_.user(call.request);
    if (!user.ok())
        return ApiReply::send(ApiReply::storageFailed(user.error()));
    auto reply = ApiReply::ok();
    reply["re"] = *user ? 0 : 1;
    return ApiReply::send(reply);
}

HttpServer::Response AccountEndpoints::login(const RouteTable::Call &call) {
    const auto address = HttpServer::addressKey(call.request.peer);
    const auto name = FormField::text(call.form, "usernames");
    auto cipher = FormField::text(call.form, "password");
    if (cipher) // a client that leaves "+" unescaped in the form has it decoded as a blank
        std::replace(cipher->begin(), cipher->end(), ' ', '+');
    const auto raw = cipher ? Secrets::fromBase64(*cipher) : std::nullopt;
    if (!name || !raw) {
        signIn_.giveBack(address);
        return ApiReply::send(ApiReply::refused(ReplyText::badParameter));
    }
    const auto key = Accounts::nameKey(*name);
    const auto found = storage_.findUser(key);
    if (!found.ok())
        return ApiReply::send(ApiReply::storageFailed(found.error()));
    const auto &user = *found;
    const auto password = Rc4Cipher::apply(*raw, Rc4Cipher::passwordKey());
    if (const auto problem = signIn_.check(address, key, key, user, password, ReplyText::badLogin))
        return ApiReply::send(ApiReply::refused(*problem));
    const auto token = Secrets::randomHex128();
    if (const auto created = storage_.createSession(Secrets::digestHex(token), user->id,
                                                    ServiceClock::unixSeconds(), options_.singleSession);
        !created.ok())
        return ApiReply::send(ApiReply::storageFailed(created.error()));
    auto reply = ApiReply::ok();
    reply["username"] = user->name;
    auto res = ApiReply::send(reply);
    res.headers.emplace_back("Set-Cookie", CookieReader::sessionCookieName() + "=" + token +
                                               "; Path=/; HttpOnly; SameSite=Lax" +
                                               (options_.secureCookie ? "; Secure" : ""));
    return res;
}

HttpServer::Response AccountEndpoints::userInfo(const RouteTable::Call &call) {
    const auto user = sessions_.user(call.request);
    if (!user.ok())
        return ApiReply::send(ApiReply::storageFailed(user.error()));
    if (!*user)
        return ApiReply::send(ApiReply::refused(ReplyText::deadSession));
    auto reply = ApiReply::ok();
    reply["username"] = (*user)->name;
    return ApiReply::send(reply);
}

HttpServer::Response AccountEndpoints::heartbeat(const RouteTable::Call &call) {
    const auto user = sessions_.user(call.request);
    if (!user.ok())
        return ApiReply::send(ApiReply::storageFailed(user.error()));
    return ApiReply::send(*user ? ApiReply::ok() : ApiReply::refused(ReplyText::deadSession, -1));
}
