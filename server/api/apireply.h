#pragma once

#include "http/httpserver.h"
#include "storage/storageerror.h"
#include "storage/storagerecords.h"
#include "storage/storageresult.h"

#include <nlohmann/json.hpp>

#include <string>

// The envelope every endpoint answers in: {"state", "msg", ...}, state 1 when done, 0 when refused
// with a short text (the heartbeat answers -1 for a dead session).
class ApiReply {
public:
    using Json = nlohmann::json;

    static Json ok();
    static Json refused(const std::string &text, int state = 0);
    // Logs the storage's error; returns the text every endpoint answers it with.
    static std::string storageFailedText(const StorageError &error);
    static Json storageFailed(const StorageError &error);
    // Ok, or the refusal for what kept a change from being made.
    static Json fromStatus(const StorageResult<StoreStatus> &status, const char *notFound);
    static HttpServer::Response send(const Json &reply, int httpStatus = 200);
    // The body of a refusal the HTTP layer makes itself (400, 404, 413, 429, 431, 503).
    static std::string refusalBody(int httpStatus);
};
