#pragma once

#include <QString>
#include <QUrl>

class QWidget;
class WebPageOpener;

// Finds and loads the web view module: QUILLORA_WEBVIEW_MODULE names its file, else it lies next
// to the executable. Loaded once and kept for the life of the process.
class WebViewModule {
public:
    WebViewModule() = delete;

    static QString fileName();
    // The module's opener, or null with the reason in *error.
    static WebPageOpener *opener(QString *error = nullptr);
    // Shows url in a modal window. Without the module a box gives the reason and offers the
    // default browser instead.
    static void open(const QUrl &url, QWidget *parent);
};
