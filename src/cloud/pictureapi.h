#pragma once

#include "cloud/picturedownloadresult.h"
#include "model/operationresult.h"

#include <QString>
#include <functional>

// Pictures on the service. Callbacks run on the GUI thread; the calls may be made from any thread.
class PictureApi {
public:
    PictureApi() = delete;

    // GET with the name Base64-encoded as the last path segment; no cookie either way.
    static void downloadPicture(const QString &filename, PictureDownloadHandler resultHandler);
    // True only when the service knows the name; a failure reads as false.
    static void exist(const QString &filename, std::function<void(bool)> callback);
    // Multipart upload of the picture file of that name; progress in whole percent.
    static void upload(const QString &filename, OperationCallback callback,
                       std::function<void(int)> progressbar);
};
