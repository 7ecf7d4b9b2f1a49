#include "app/webview/webviewcontroller.h"

#include <QVBoxLayout>
#include <QWebEngineView>

WebViewController::WebViewController(const QUrl &url, QWidget *parent) : QDialog(parent), url_(url) {
    setModal(true);
    setWindowTitle("Quillora");
    resize(420, 640);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    webView_ = new QWebEngineView(this);
    layout->addWidget(webView_);
    connect(webView_, &QWebEngineView::titleChanged, this, [this](const QString &title) {
        if (!title.isEmpty())
            setWindowTitle(title);
    });
    connect(webView_, &QWebEngineView::loadFinished, this, &WebViewController::loadFinished);
    webView_->load(url);
}
