#include "app/webview/webviewplugin.h"

#include "app/webview/webpageview.h"

#include <QWebEnginePage>
#include <QWebEngineView>

QDialog *WebViewPlugin::createWindow(const QUrl &url, QWidget *parent) {
    return new WebPageView(url, parent);
}

void WebViewPlugin::runJavaScript(QDialog *window, const QString &script,
                                  const std::function<void(const QVariant &)> &done) {
    auto *web = qobject_cast<WebPageView *>(window);
    if (!web) {
        if (done)
            done(QVariant());
        return;
    }
    web->webView()->page()->runJavaScript(script, [done](const QVariant &v) {
        if (done)
            done(v);
    });
}
