#include "api/pictureendpoints.h"

#include "api/apireply.h"
#include "api/formfield.h"
#include "api/libraryaccess.h"
#include "api/picturename.h"
#include "api/quota.h"
#include "api/replytext.h"
#include "api/serviceclock.h"
#include "security/secrets.h"
#include "storage/storage.h"

namespace {

// Room for the multipart framing and the small fields around an upload.
constexpr std::size_t uploadOverhead = 256 * 1024;

} // namespace

void PictureEndpoints::addRoutes(RouteTable &routes) {
    routes.add("POST", "/api/word/image/imageNameExist",
               {[this](const RouteTable::Call &c) { return ApiReply::send(exists(c)); }});
    routes.add("POST", "/api/word/image/uploadImage",
               {.handler = [this](const RouteTable::Call &c) { return ApiReply::send(upload(c)); },
                .takesForm = false,
                .bodyLimit = maxPictureBytes_ + uploadOverhead});
    routes.add("GET", "/api/resource/word/getImage64/*",
               {[this](const RouteTable::Call &c) { return ApiReply::send(download(c)); }});
}

PictureEndpoints::Json PictureEndpoints::exists(const RouteTable::Call &call) {
    const auto name = FormField::text(call.form, "fileName");
    if (!name || !PictureName::isPlain(*name))
        return ApiReply::refused(ReplyText::badPictureName);
    // A name that is not a content digest is never stored, so the client uploads it and hears why.
    if (!PictureName::isAccepted(*name))
        return ApiReply::refused(ReplyText::pictureFormat);
    const auto found = storage_.pictureExists(*name);
    if (!found.ok())
        return ApiReply::storageFailed(found.error());
    return *found ? ApiReply::ok() : ApiReply::refused(ReplyText::noPicture);
}

PictureEndpoints::Json PictureEndpoints::upload(const RouteTable::Call &call) {
    const auto form = FormData::parseMultipart(call.request.header("Content-Type"), call.request.body);
    if (!form)
        return ApiReply::refused(ReplyText::badParameter);
    // A picture counts against the library it goes into: a team's pictures against the team.
    const auto library = access_.libraryOf(call.request, *form, true);
    if (const auto *refusal = std::get_if<Json>(&library))
        return *refusal;
    const auto user = std::optional<UserRecord>(std::get<UserRecord>(library));
    const auto name = FormField::text(*form, "filename");
    const auto file = FormField::text(*form, "file");
    if (!name || !file)
        return ApiReply::refused(ReplyText::badParameter);
    if (!PictureName::isPlain(*name))
        return ApiReply::refused(ReplyText::badPictureName);
    if (!PictureName::isAccepted(*name))
        return ApiReply::refused(ReplyText::pictureFormat);
    if (file->empty())
        return ApiReply::refused(ReplyText::pictureEmpty);
    if (file->size() > maxPictureBytes_)
        return ApiReply::refused("图片过大（最多" + std::to_string(maxPictureBytes_ / (1024 * 1024)) +
                                 "MB）");
    if (!PictureName::matchesContent(*name, *file))
        return ApiReply::refused(ReplyText::pictureMismatch);
    if (auto problem = quota_.problem(*user, std::int64_t(file->size())); !problem.empty())
        return ApiReply::refused(problem);
    const auto stored = storage_.storePicture(*name, *file, ServiceClock::unixSeconds(), user->id);
    if (!stored.ok())
        return ApiReply::storageFailed(stored.error());
    if (*stored == StoreStatus::DifferentBytes)
        return ApiReply::refused(ReplyText::pictureTaken);
    return ApiReply::ok();
}

PictureEndpoints::Json PictureEndpoints::download(const RouteTable::Call &call) {
    auto name = Secrets::fromBase64(call.pathRest);
    // A client may name the library first ("<dbname>/<Base64>"); pictures are stored once for
    // everyone, so only the name counts.
    if (const auto slash = call.pathRest.find('/');
        (!name || !PictureName::isPlain(*name)) && slash != std::string::npos)
        name = Secrets::fromBase64(call.pathRest.substr(slash + 1));
    if (!name || !PictureName::isPlain(*name))
        return ApiReply::refused(ReplyText::badPictureName);
    const auto bytes = storage_.picture(*name);
    if (!bytes.ok())
        return ApiReply::storageFailed(bytes.error());
    if (!*bytes)
        return ApiReply::refused(ReplyText::noPicture);
    auto reply = ApiReply::ok();
    reply["base64"] = Secrets::toBase64(**bytes);
    return reply;
}
