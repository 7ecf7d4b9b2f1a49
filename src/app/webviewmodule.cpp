#include "app/webviewmodule.h"

#include "model/logging.h"

#include "app/webpageopener.h"
#include "ui/messagebox.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDialog>
#include <QDir>
#include <QFileInfo>
#include <QPluginLoader>
#include <memory>

QString WebViewModule::fileName() {
    const QString path = qEnvironmentVariable("QUILLORA_WEBVIEW_MODULE");
    if (!path.isEmpty())
        return QFileInfo(path).absoluteFilePath();
    // Next to the executable in a build folder; in the library folder once installed.
    const QDir here(QCoreApplication::applicationDirPath());
    const QString beside = here.filePath("quillora-webview.so");
    const QString installed =
        QDir::cleanPath(here.filePath(QStringLiteral(QUILLORA_INSTALLED_MODULE_DIR "/quillora-webview.so")));
    return QFileInfo::exists(beside) || !QFileInfo::exists(installed) ? beside : installed;
}

WebPageOpener *WebViewModule::opener(QString *error) {
    const QString file = fileName();
    // The loader stays alive: unloading the web engine while the process runs is not safe.
    static QPluginLoader *loader = nullptr;
    if (!loader || loader->fileName() != file) {
        if (!QFileInfo::exists(file)) {
            if (error)
                *error = QCoreApplication::translate("WebViewModule", "%1 does not exist").arg(file);
            return nullptr;
        }
        loader = new QPluginLoader(file, qApp);
    }
    QObject *root = loader->instance();
    auto *result = qobject_cast<WebPageOpener *>(root);
    if (!result && error)
        *error = root
                     ? QCoreApplication::translate("WebViewModule", "%1 is not the web view module").arg(file)
                     : loader->errorString();
    return result;
}

void WebViewModule::open(const QUrl &url, QWidget *parent) {
    QString error;
    if (WebPageOpener *o = opener(&error)) {
        std::unique_ptr<QDialog> window(o->createWindow(url, parent));
        window->exec();
        return;
    }
    qCWarning(lcApp, "web view module not loaded: %s", qUtf8Printable(error));
    const QString text =
        QString::fromUtf8("无法打开网页窗口：%1\n\n是否在默认浏览器中打开 %2？").arg(error, url.toString());
    if (MessageBox::showIsOk(QString::fromUtf8("网页窗口不可用"), text))
        QDesktopServices::openUrl(url);
}
