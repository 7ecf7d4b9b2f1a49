#include "api/libraryaccess.h"

#include "api/accounts.h"
#include "api/apireply.h"
#include "api/formfield.h"
#include "api/replytext.h"
#include "api/sessions.h"
#include "storage/storage.h"

std::variant<LibraryAccess::Grant, nlohmann::json>
LibraryAccess::check(const HttpServer::Request &request, const std::string &dbname, bool change) {
    const auto found = sessions_.user(request);
    if (!found.ok())
        return ApiReply::storageFailed(found.error());
    if (!*found)
        return ApiReply::refused(ReplyText::deadSession);
    const auto &user = **found;
    // The own library needs no look-up: it is what every older client asks for.
    if (Sessions::owns(user, dbname))
        return Grant{user, {user.id, user.name, false, TeamRole::Owner, 0}};
    const auto library = storage_.library(user.id, Accounts::nameKey(dbname));
    if (!library.ok())
        return ApiReply::storageFailed(library.error());
    if (!*library)
        return ApiReply::refused(ReplyText::forbidden);
    if (change && (*library)->role == TeamRole::Agent)
        return ApiReply::refused(ReplyText::readOnlyTeam);
    return Grant{user, **library};
}

std::variant<UserRecord, nlohmann::json> LibraryAccess::libraryOf(const HttpServer::Request &request,
                                                                  const FormData::Fields &form, bool change) {
    const auto dbname = FormField::text(form, "dbname");
    if (!dbname) {
        // A missing name is a bad parameter only for someone signed in.
        const auto found = sessions_.user(request);
        if (!found.ok())
            return ApiReply::storageFailed(found.error());
        return ApiReply::refused(*found ? ReplyText::badParameter : ReplyText::deadSession);
    }
    auto granted = check(request, *dbname, change);
    if (auto *refusal = std::get_if<nlohmann::json>(&granted))
        return std::move(*refusal);
    const auto &library = std::get<Grant>(granted).library;
    return UserRecord{library.id, library.name, {}};
}
