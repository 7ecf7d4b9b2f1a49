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

WebViewModule::WebViewModule() = default;

// Deleting the loader leaves the module loaded.
WebViewModule::~WebViewModule() = default;

WebPageOpener *WebViewModule::opener(QString *error) {
    const QString file = fileName();
    if (!loader_ || loader_->fileName() != file) {
        if (!QFileInfo::exists(file)) {
            if (error)
                *error = QCoreApplication::translate("WebViewModule", "%1 does not exist").arg(file);
            return nullptr;
        }
        loader_ = std::make_unique<QPluginLoader>(file);
    }
    QObject *root = loader_->instance();
    auto *result = qobject_cast<WebPageOpener *>(root);
    if (!result && error)
        *error = root
                     ? QCoreApplication::translate("WebViewModule", "%1 is not the web view module").arg(file)
                     : loader_->errorString();
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
