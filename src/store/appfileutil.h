#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

// Picture files by name in the image folder. Names come from the service, so anything that is not a
// plain file name is refused and never reaches outside the folder.
class AppFileUtil {
public:
    AppFileUtil() = delete;

    static std::optional<QByteArray> readImage(const QString &imageName);
    static bool saveImage(const QByteArray &data, const QString &imageName);
    static bool exist(const QString &imageFilename);

    static bool isPlainFileName(const QString &name);
};
