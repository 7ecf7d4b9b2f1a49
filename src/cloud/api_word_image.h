#pragma once

#include "cloud/apiresulrdowimage.h"
#include "model/dataresult.h"

#include <QString>
#include <functional>

// Pictures on the service. Callbacks run on the GUI thread; the calls may be made from any thread.
class api_word_image {
public:
    api_word_image() = delete;

    // GET with the name Base64-encoded as the last path segment; no cookie either way.
    static void dowImage(const QString &filename, ApiResulrDowImageHandler resultHandler);
    // True only when the service knows the name; a failure reads as false.
    static void exist(const QString &filename, std::function<void(bool)> callback);
    // Multipart upload of the picture file of that name; progress in whole percent.
    static void upload(const QString &filename, DataResultCallback callback,
                       std::function<void(int)> progressbar);
};
