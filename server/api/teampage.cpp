#include "api/teampage.h"

#include "api/accounts.h"
#include "api/formfield.h"
#include "api/replytext.h"
#include "api/serviceclock.h"
#include "api/sessions.h"
#include "api/signincheck.h"
#include "api/teamrolename.h"
#include "http/cookiereader.h"
#include "security/secrets.h"
#include "storage/storage.h"

#include <algorithm>
#include <ctime>

namespace {

const char *const style = R"css(
body { font-family: sans-serif; background: #f4f5f7; margin: 0; color: #222; }
main { max-width: 760px; margin: 32px auto; background: #fff; border-radius: 8px; padding: 20px 28px;
       box-shadow: 0 1px 4px rgba(0,0,0,.12); }
h1 { font-size: 20px; margin: 0 0 16px; }
h2 { font-size: 17px; margin: 24px 0 8px; border-bottom: 1px solid #ddd; padding-bottom: 4px; }
h3 { font-size: 15px; margin: 16px 0 6px; }
table { border-collapse: collapse; width: 100%; font-size: 14px; }
td, th { text-align: left; padding: 4px 6px; border-bottom: 1px solid #eee; }
input, select { padding: 5px; font-size: 14px; }
button { padding: 5px 12px; font-size: 14px; border: 0; border-radius: 4px; background: #2f7cf6; color: #fff;
         cursor: pointer; }
button.danger { background: #c62828; }
.notice { margin: 8px 0; padding: 8px; background: #fff8e1; border-radius: 4px; }
.none { color: #888; font-size: 14px; }
form.inline { display: inline; }
header { display: flex; justify-content: space-between; align-items: center; }
)css";

std::string escape(const std::string &text) {
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        case '\'':
            out += "&#39;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::string frame(const std::string &body) {
    return std::string("<!DOCTYPE html>\n<html lang=\"zh-CN\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                       "<title>Quillora 团队</title>\n<style>") +
           style + "</style>\n</head>\n<body>\n<main>\n" + body + "</main>\n</body>\n</html>\n";
}

std::string noticeBlock(const std::string &notice) {
    return notice.empty() ? "" : "<p class=\"notice\" id=\"notice\">" + escape(notice) + "</p>\n";
}

const char *roleLabel(TeamRole role) {
    switch (role) {
    case TeamRole::Owner:
        return "所有者";
    case TeamRole::Editor:
        return "编辑";
    default:
        return "客服";
    }
}

std::string roleOptions(TeamRole selected) {
    std::string out;
    for (const auto role : {TeamRole::Agent, TeamRole::Editor, TeamRole::Owner})
        out += std::string("<option value=\"") + TeamRoleName::of(role) + "\"" +
               (role == selected ? " selected" : "") + ">" + roleLabel(role) + "</option>";
    return out;
}

std::string day(std::int64_t daysSinceEpoch) {
    const std::time_t t = std::time_t(daysSinceEpoch) * 86400;
    std::tm tm{};
    gmtime_r(&t, &tm);
    char text[16];
    std::strftime(text, sizeof text, "%Y-%m-%d", &tm);
    return text;
}

std::string statusText(StoreStatus status) {
    switch (status) {
    case StoreStatus::Ok:
        return "已保存";
    case StoreStatus::Exists:
        return "该用户已是团队成员";
    case StoreStatus::NotFound:
        return "没有这个用户";
    case StoreStatus::LastOwner:
        return "团队至少需要一位所有者";
    default:
        return ReplyText::badParameter;
    }
}

} // namespace

void TeamPage::addRoutes(RouteTable &routes) {
    routes.add("GET", "/team", {[this](const RouteTable::Call &c) { return show(c); }});
    routes.add("POST", "/team/login",
               {.handler = [this](const RouteTable::Call &c) { return signIn(c); },
                .checksPasswords = true,
                .nameField = "username"});
    routes.add("POST", "/team/logout", {[this](const RouteTable::Call &c) { return signOut(c); }});
    routes.add("POST", "/team/members", {[this](const RouteTable::Call &c) { return members(c); }});
}

HttpServer::Response TeamPage::html(std::string body, int status) {
    HttpServer::Response res;
    res.status = status;
    res.contentType = "text/html; charset=utf-8";
    res.headers.emplace_back("Cache-Control", "no-store");
    // Nothing of it may load elsewhere or be framed.
    res.headers.emplace_back(
        "Content-Security-Policy",
        "default-src 'none'; style-src 'unsafe-inline'; form-action 'self'; frame-ancestors 'none'");
    res.setBody(std::move(body));
    return res;
}

std::string TeamPage::csrfFor(const std::string &token) {
    return Secrets::digestHex("team page form:" + token);
}

bool TeamPage::csrfMatches(const HttpServer::Request &request, const std::string &posted) {
    for (const auto &token : CookieReader::sessionTokens(request.headerValues("Cookie")))
        if (csrfFor(token) == posted)
            return true;
    return false;
}

std::string TeamPage::signInPage(const std::string &notice) const {
    return frame("<h1>团队管理</h1>\n" + noticeBlock(notice) +
                 "<form method=\"post\" action=\"/team/login\" id=\"login\">\n"
                 "<p><label>用户名 <input name=\"username\" id=\"username\" autocomplete=\"username\" "
                 "required></label></p>\n"
                 "<p><label>密码 <input name=\"password\" id=\"password\" type=\"password\" "
                 "autocomplete=\"current-password\" required></label></p>\n"
                 "<p><button type=\"submit\">登录</button></p>\n</form>\n");
}

HttpServer::Response TeamPage::show(const RouteTable::Call &call, const std::string &notice) {
    const auto user = sessions_.user(call.request);
    if (!user.ok())
        return html(signInPage(ReplyText::internal), 503);
    if (!*user)
        return html(signInPage(notice));
    std::string csrf;
    // The live session's token makes the form token.
    for (const auto &token : CookieReader::sessionTokens(call.request.headerValues("Cookie")))
        if (const auto owner = storage_.sessionUser(Secrets::digestHex(token), ServiceClock::unixSeconds(),
                                                    Sessions::idleSeconds);
            owner.ok() && *owner && (*owner)->id == (*user)->id) {
            csrf = csrfFor(token);
            break;
        }
    return html(teamsPage(**user, csrf, notice));
}

std::string TeamPage::teamsPage(const UserRecord &user, const std::string &csrf, const std::string &notice) {
    std::string body =
        "<header><h1>团队管理</h1><form method=\"post\" action=\"/team/logout\" class=\"inline\">"
        "<input type=\"hidden\" name=\"csrf\" value=\"" +
        csrf + "\"><span>" + escape(user.name) +
        "</span> <button type=\"submit\" id=\"logout\">退出</button></form></header>\n" + noticeBlock(notice);
    const auto libraries = storage_.libraries(user.id);
    if (!libraries.ok())
        return frame(body + noticeBlock(ReplyText::internal));
    const auto today = ServiceClock::unixSeconds() / 86400;
    bool any = false;
    for (const auto &library : *libraries) {
        if (!library.team || library.role != TeamRole::Owner)
            continue;
        any = true;
        const auto team = storage_.team(Accounts::nameKey(library.name));
        const auto usage = storage_.teamUsage(library.id, today - 29);
        if (!team.ok() || !*team || !usage.ok())
            continue;
        const std::string name = escape((*team)->name);
        const std::string hidden = "<input type=\"hidden\" name=\"csrf\" value=\"" + csrf +
                                   "\"><input type=\"hidden\" name=\"team\" value=\"" + name + "\">";
        body += "<section class=\"team\" data-team=\"" + name + "\">\n<h2>" + name +
                "</h2>\n<h3>成员</h3>\n<table>\n";
        body += "<tr><th>用户名</th><th>角色</th><th></th></tr>\n";
        for (const auto &m : (*team)->members) {
            const std::string member = escape(m.name);
            body += "<tr data-member=\"" + member + "\"><td>" + member + "</td><td>" +
                    "<form method=\"post\" action=\"/team/members\" class=\"inline role\">" + hidden +
                    "<input type=\"hidden\" name=\"action\" value=\"role\"><input type=\"hidden\" "
                    "name=\"username\" "
                    "value=\"" +
                    member + "\"><select name=\"role\">" + roleOptions(m.role) +
                    "</select> <button type=\"submit\">修改角色</button></form></td><td>"
                    "<form method=\"post\" action=\"/team/members\" class=\"inline remove\">" +
                    hidden +
                    "<input type=\"hidden\" name=\"action\" value=\"remove\"><input type=\"hidden\" "
                    "name=\"username\" value=\"" +
                    member + "\"><button type=\"submit\" class=\"danger\">移除</button></form></td></tr>\n";
        }
        body += "</table>\n<form method=\"post\" action=\"/team/members\" class=\"add\">" + hidden +
                "<input type=\"hidden\" name=\"action\" value=\"add\"><p>添加成员 <input name=\"username\" "
                "placeholder=\"用户名\" required> <select name=\"role\">" +
                roleOptions(TeamRole::Agent) + "</select> <button type=\"submit\">添加</button></p></form>\n";

        auto used = usage->phrases;
        std::stable_sort(used.begin(), used.end(), [](const PhraseUsage &a, const PhraseUsage &b) {
            return a.recentSends > b.recentSends;
        });
        body += "<h3>最近30天最常用</h3>\n<table "
                "class=\"most-used\">\n<tr><th>话术</th><th>分类</th><th>发送次数</th></tr>\n";
        int shown = 0;
        for (const auto &p : used) {
            if (p.recentSends == 0 || shown++ == 10)
                break;
            body += "<tr><td>" + escape(p.label) + "</td><td>" + escape(p.classLabel) + "</td><td>" +
                    std::to_string(p.recentSends) + "</td></tr>\n";
        }
        body += "</table>\n";
        if (shown == 0)
            body += "<p class=\"none\">最近30天没有发送记录</p>\n";
        body += "<h3>最近30天未使用</h3>\n<table "
                "class=\"unused\">\n<tr><th>话术</th><th>分类</th><th>上次使用</th></tr>\n";
        for (const auto &p : usage->phrases)
            if (p.recentSends == 0)
                body += "<tr><td>" + escape(p.label) + "</td><td>" + escape(p.classLabel) + "</td><td>" +
                        (p.lastDay < 0 ? std::string("从未使用") : day(p.lastDay)) + "</td></tr>\n";
        body += "</table>\n<h3>每位成员</h3>\n<table class=\"per-member\">\n"
                "<tr><th>用户名</th><th>角色</th><th>最近30天</th><th>全部</th></tr>\n";
        for (const auto &m : usage->members)
            body += "<tr data-member=\"" + escape(m.name) + "\"><td>" + escape(m.name) + "</td><td>" +
                    roleLabel(m.role) + "</td><td>" + std::to_string(m.recentSends) + "</td><td>" +
                    std::to_string(m.allSends) + "</td></tr>\n";
        body += "</table>\n</section>\n";
    }
    if (!any)
        body += "<p class=\"none\">你不是任何团队的所有者。团队由管理员用 quillora-cloud team create "
                "建立。</p>\n";
    return frame(body);
}

HttpServer::Response TeamPage::signIn(const RouteTable::Call &call) {
    const auto address = HttpServer::addressKey(call.request.peer);
    const auto name = FormField::text(call.form, "username");
    const auto password = FormField::text(call.form, "password");
    if (!name || !password) {
        signIn_.giveBack(address);
        return html(signInPage(ReplyText::badParameter));
    }
    const auto key = Accounts::nameKey(*name);
    const auto found = storage_.findUser(key);
    if (!found.ok())
        return html(signInPage(ReplyText::internal), 503);
    if (const auto problem = signIn_.check(address, key, key, *found, *password, ReplyText::badLogin))
        return html(signInPage(*problem));
    const auto token = Secrets::randomHex128();
    if (const auto created = storage_.createSession(Secrets::digestHex(token), (*found)->id,
                                                    ServiceClock::unixSeconds(), false);
        !created.ok())
        return html(signInPage(ReplyText::internal), 503);
    HttpServer::Response res;
    res.status = 303;
    res.contentType = "text/plain; charset=utf-8";
    res.headers.emplace_back("Location", "/team");
    res.headers.emplace_back("Set-Cookie", CookieReader::sessionCookieName() + "=" + token +
                                               "; Path=/; HttpOnly; SameSite=Lax" +
                                               (secureCookie_ ? "; Secure" : ""));
    return res;
}

HttpServer::Response TeamPage::signOut(const RouteTable::Call &call) {
    const auto posted = FormField::text(call.form, "csrf");
    if (posted && csrfMatches(call.request, *posted))
        for (const auto &token : CookieReader::sessionTokens(call.request.headerValues("Cookie")))
            if (const auto deleted = storage_.deleteSession(Secrets::digestHex(token)); !deleted.ok())
                return html(signInPage(ReplyText::internal), 503);
    HttpServer::Response res;
    res.status = 303;
    res.contentType = "text/plain; charset=utf-8";
    res.headers.emplace_back("Location", "/team");
    return res;
}

HttpServer::Response TeamPage::members(const RouteTable::Call &call) {
    const auto user = sessions_.user(call.request);
    if (!user.ok())
        return html(signInPage(ReplyText::internal), 503);
    if (!*user)
        return html(signInPage(ReplyText::deadSession));
    const auto posted = FormField::text(call.form, "csrf");
    if (!posted || !csrfMatches(call.request, *posted))
        return show(call, ReplyText::forbidden);
    const auto teamName = FormField::text(call.form, "team");
    const auto action = FormField::text(call.form, "action");
    const auto memberName = FormField::text(call.form, "username");
    if (!teamName || !action || !memberName)
        return show(call, ReplyText::badParameter);
    const auto team = storage_.team(Accounts::nameKey(*teamName));
    if (!team.ok())
        return show(call, ReplyText::internal);
    // Checked on every post: an owner removed meanwhile changes nothing.
    const bool owner =
        *team && std::any_of((*team)->members.begin(), (*team)->members.end(), [&](const TeamMember &m) {
            return m.userId == (*user)->id && m.role == TeamRole::Owner;
        });
    if (!owner)
        return show(call, ReplyText::forbidden);
    const auto member = storage_.findUser(Accounts::nameKey(*memberName));
    if (!member.ok())
        return show(call, ReplyText::internal);
    if (!*member)
        return show(call, statusText(StoreStatus::NotFound));
    const auto role = TeamRoleName::parse(FormField::text(call.form, "role").value_or(""));
    StorageResult<StoreStatus> status = StoreStatus::NotFound;
    if (*action == "remove")
        status = storage_.removeMember((*team)->id, (*member)->id);
    else if ((*action == "add" || *action == "role") && role)
        status = storage_.setMember((*team)->id, (*member)->id, *role, *action == "add");
    else
        return show(call, ReplyText::badParameter);
    if (!status.ok())
        return show(call, ReplyText::internal);
    return show(call, statusText(*status));
}
