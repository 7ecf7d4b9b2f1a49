#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

// Picture files by name in the image folder. Names come from the service, so anything that is not a
// plain file name is refused and never reaches outside the folder.
namespace AppFileUtil {

std::optional<QByteArray> readImage(const QString &imageName);
bool saveImage(const QByteArray &data, const QString &imageName);
bool exist(const QString &imageFilename);

bool isPlainFileName(const QString &name);

} // namespace AppFileUtil
