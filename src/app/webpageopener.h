#pragma once

#include <QUrl>
#include <QVariant>
#include <QtPlugin>
#include <functional>

class QDialog;
class QWidget;

// What the web view module offers. The module alone links the web engine, so the application
// pays for it only when a service page is opened.
class WebPageOpener {
public:
    virtual ~WebPageOpener() = default;

    // A modal window that loads url; the caller owns it. The window has the signal
    // loadFinished(bool) of its page.
    virtual QDialog *createWindow(const QUrl &url, QWidget *parent) = 0;
    // Runs script in the page of a window made by createWindow; done gets the script's value.
    virtual void runJavaScript(QDialog *window, const QString &script,
                               const std::function<void(const QVariant &)> &done) = 0;
};

#define WebPageOpener_iid "org.quillora.WebPageOpener/1"
Q_DECLARE_INTERFACE(WebPageOpener, WebPageOpener_iid)
