#include "api/sessions.h"

#include "api/accounts.h"
#include "api/apireply.h"
#include "api/formfield.h"
#include "api/replytext.h"
#include "api/serviceclock.h"
#include "http/cookiereader.h"
#include "security/secrets.h"
#include "storage/storage.h"

StorageResult<std::optional<UserRecord>> Sessions::user(const HttpServer::Request &request) {
    const auto now = ServiceClock::unixSeconds();
    // A client may hold stale copies of the cookie; any live one will do.
    for (const auto &token : CookieReader::sessionTokens(request.headerValues("Cookie")))
        if (auto user = storage_.sessionUser(Secrets::digestHex(token), now, idleSeconds);
            !user.ok() || *user)
            return user;
    return std::optional<UserRecord>();
}

bool Sessions::owns(const UserRecord &user, const std::string &dbname) {
    return Accounts::nameKey(dbname) == Accounts::nameKey(user.name);
}
