#pragma once

#include <QString>
#include <QUrl>
#include <memory>

class QPluginLoader;
class QWidget;
class WebPageOpener;

// Finds and loads the web view module when a page is first asked for: QUILLORA_WEBVIEW_MODULE
// names its file, else it lies next to the executable. Once loaded, the module stays in the
// process: unloading the web engine while the process runs is not safe.
class WebViewModule {
public:
    WebViewModule();
    ~WebViewModule();
    WebViewModule(const WebViewModule &) = delete;
    WebViewModule &operator=(const WebViewModule &) = delete;

    static QString fileName();
    // The module's opener, or null with the reason in *error.
    WebPageOpener *opener(QString *error = nullptr);
    // Shows url in a modal window. Without the module a box gives the reason and offers the
    // default browser instead.
    void open(const QUrl &url, QWidget *parent);

private:
    std::unique_ptr<QPluginLoader> loader_;
};
