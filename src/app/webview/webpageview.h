#pragma once

#include <QDialog>
#include <QUrl>

class QWebEngineView;

// A modal window that shows one page of the service (registration, password reset).
class WebPageView : public QDialog {
    Q_OBJECT
public:
    explicit WebPageView(const QUrl &url, QWidget *parent = nullptr);

    QWebEngineView *webView() const { return webView_; }
    QUrl url() const { return url_; }

Q_SIGNALS:
    void loadFinished(bool ok);

private:
    QWebEngineView *webView_ = nullptr;
    QUrl url_;
};
