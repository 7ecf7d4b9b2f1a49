#include "app/webview/webpageview.h"

#include <QVBoxLayout>
#include <QWebEngineView>

WebPageView::WebPageView(const QUrl &url, QWidget *parent) : QDialog(parent), url_(url) {
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
    connect(webView_, &QWebEngineView::loadFinished, this, &WebPageView::loadFinished);
    webView_->load(url);
}
