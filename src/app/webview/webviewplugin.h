#pragma once

#include "app/webpageopener.h"

#include <QObject>

// The root object of the web view module.
class WebViewPlugin : public QObject, public WebPageOpener {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID WebPageOpener_iid)
    Q_INTERFACES(WebPageOpener)
public:
    QDialog *createWindow(const QUrl &url, QWidget *parent) override;
    void runJavaScript(QDialog *window, const QString &script,
                       const std::function<void(const QVariant &)> &done) override;
};
