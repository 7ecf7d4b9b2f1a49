#include "app/autostart.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

QString Autostart::entryPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/autostart/quillora.desktop");
}

bool Autostart::isEnabled() {
    return QFileInfo::exists(entryPath());
}

Result<void> Autostart::setEnabled(bool enabled) {
    const QString path = entryPath();
    if (!enabled) {
        if (QFileInfo::exists(path) && !QFile::remove(path))
            return Result<void>::failure(QStringLiteral("无法删除 ") + path);
        return Result<void>::success();
    }
    QDir().mkpath(QFileInfo(path).absolutePath());
    // The executable as it runs now, so a build started from its folder comes back the same way.
    QString exec = QCoreApplication::applicationFilePath();
    exec.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('"'), QLatin1String("\\\""));
    const QString text = QStringLiteral("[Desktop Entry]\n"
                                        "Type=Application\n"
                                        "Name=Quillora\n"
                                        "Comment=Quick phrases for chat programs\n"
                                        "Exec=\"%1\"\n"
                                        "Icon=org.quillora.Quillora\n"
                                        "Terminal=false\n"
                                        "X-GNOME-Autostart-enabled=true\n")
                             .arg(exec);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0 || !file.commit())
        return Result<void>::failure(QStringLiteral("无法写入 ") + path);
    return Result<void>::success();
}
