#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QTemporaryDir>

#include <sys/types.h>

// A real Chromium without a window, driven over its DevTools pipe (JSON messages on two inherited
// descriptors, no port to find or share): open a page, run script in it, wait for the next page
// to load after a form is sent. Every wait is bounded; the destructor ends the browser.
class HeadlessChromium {
public:
    HeadlessChromium() = default;
    ~HeadlessChromium();
    HeadlessChromium(const HeadlessChromium &) = delete;
    HeadlessChromium &operator=(const HeadlessChromium &) = delete;

    // Starts the browser with a profile of its own and one empty tab.
    bool start();
    // Loads the address and waits until the page has loaded.
    bool open(const QString &url);
    // The value of a script expression in the page (promises are awaited); undefined on failure.
    QJsonValue evaluate(const QString &expression);
    // Runs a script that sends a form, then waits until the page it leads to has loaded.
    bool submit(const QString &expression);
    QString error() const { return error_; }

private:
    QJsonObject call(const QString &method, const QJsonObject &params, bool inPage = true);
    bool waitForLoad();
    // The next message, or an empty object when none came in time.
    QJsonObject readMessage(int timeoutMs);

    QTemporaryDir profile_;
    pid_t pid_ = -1;
    int toBrowser_ = -1;
    int fromBrowser_ = -1;
    QByteArray pending_;
    QString session_;
    int nextId_ = 1;
    int loadsSeen_ = 0; // page loads reported while waiting for something else
    QString error_;
};
