#include "api/apireply.h"

#include "api/replytext.h"
#include "log/servicelog.h"

ApiReply::Json ApiReply::ok() {
    return Json{{"state", 1}, {"msg", ""}};
}

ApiReply::Json ApiReply::refused(const std::string &text, int state) {
    return Json{{"state", state}, {"msg", text}};
}

std::string ApiReply::storageFailedText(const StorageError &error) {
    ServiceLog::line("storage failed: " + error.message);
    return ReplyText::internal;
}

ApiReply::Json ApiReply::storageFailed(const StorageError &error) {
    return refused(storageFailedText(error));
}

ApiReply::Json ApiReply::fromStatus(const StorageResult<StoreStatus> &status, const char *notFound) {
    if (!status.ok())
        return storageFailed(status.error());
    switch (*status) {
    case StoreStatus::Ok:
        return ok();
    case StoreStatus::NotFound:
        return refused(notFound);
    case StoreStatus::LastClass:
        return refused(ReplyText::lastClass);
    default:
        return refused(ReplyText::badParameter);
    }
}

HttpServer::Response ApiReply::send(const Json &reply, int httpStatus) {
    HttpServer::Response res;
    res.status = httpStatus;
    res.setBody(reply.dump());
    return res;
}

std::string ApiReply::refusalBody(int httpStatus) {
    const char *text = ReplyText::badParameter;
    switch (httpStatus) {
    case 404:
        text = ReplyText::noEndpoint;
        break;
    case 413:
        text = ReplyText::bodyTooLarge;
        break;
    case 429:
        text = ReplyText::tooManyLogins;
        break;
    case 431:
        text = ReplyText::headerTooLarge;
        break;
    case 503:
        text = ReplyText::busy;
        break;
    default:
        break;
    }
    return refused(text).dump();
}
