#include "api/pageendpoints.h"

#include "api/accounts.h"
#include "api/apireply.h"
#include "api/formfield.h"
#include "api/replytext.h"
#include "api/signincheck.h"
#include "api/webpages.h"
#include "storage/storage.h"

namespace {

constexpr std::size_t passwordMin = 6;

} // namespace

void PageEndpoints::addRoutes(RouteTable &routes) {
    routes.add("GET", "/", {[](const RouteTable::Call &) {
                   HttpServer::Response res;
                   res.contentType = "text/html; charset=utf-8";
                   res.setBody(WebPages::index());
                   return res;
               }});
    routes.add("POST", "/api/web/register",
               {.handler = [this](const RouteTable::Call &c) { return ApiReply::send(registerAccount(c)); },
                .checksPasswords = true});
    routes.add("POST", "/api/web/reset",
               {.handler = [this](const RouteTable::Call &c) { return ApiReply::send(changePassword(c)); },
                .checksPasswords = true,
                .nameField = "username"});
}

PageEndpoints::Json PageEndpoints::registerAccount(const RouteTable::Call &call) {
    const auto name = FormField::text(call.form, "username");
    const auto password = FormField::text(call.form, "password");
    if (!name || !password)
        return ApiReply::refused(ReplyText::badParameter);
    if (const auto problem = Accounts::create(storage_, *name, *password, passwordMin))
        return ApiReply::refused(*problem);
    // Hashing a new password is no guess at an old one.
    signIn_.giveBack(HttpServer::addressKey(call.request.peer));
    return ApiReply::ok();
}

PageEndpoints::Json PageEndpoints::changePassword(const RouteTable::Call &call) {
    const auto address = HttpServer::addressKey(call.request.peer);
    const auto name = FormField::text(call.form, "username");
    const auto oldPassword = FormField::text(call.form, "oldPassword");
    const auto newPassword = FormField::text(call.form, "newPassword");
    auto problem = !name || !oldPassword || !newPassword ? std::optional<std::string>(ReplyText::badParameter)
                                                         : Accounts::checkPassword(*newPassword, passwordMin);
    if (problem) {
        signIn_.giveBack(address);
        return ApiReply::refused(*problem);
    }
    const auto key = Accounts::nameKey(*name);
    const auto found = storage_.findUser(key);
    if (!found.ok())
        return ApiReply::storageFailed(found.error());
    // Its own failure record: sign-in failures never lock the reset page.
    if ((problem = signIn_.check(address, key, SignInCheck::resetGuardKey(key), *found, *oldPassword,
                                 ReplyText::badOldPassword)))
        return ApiReply::refused(*problem);
    if (const auto failed = Accounts::setPassword(storage_, (*found)->name, *newPassword, passwordMin))
        return ApiReply::refused(*failed);
    return ApiReply::ok();
}
