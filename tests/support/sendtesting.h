#pragma once

#include "desktop/desktopbackend.h"
#include "model/settings.h"
#include "send/phrasesender.h"
#include "send/targetwindowtracker.h"

#include <QByteArray>
#include <QColor>
#include <QObject>
#include <QSize>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>

// What every desktop's send suite needs: a back-end with the tracker and sender over it, as the
// session makes them, the windows on that desktop, a send waited out, what the sender reported
// and what a paste target logged.
class QProcess;

class SendTesting : public QObject {
    Q_OBJECT
public:
    // Over the given back-end (a recording one, or one for a particular desktop), else over the one
    // this session would get.
    explicit SendTesting(std::unique_ptr<DesktopBackend> desktop = {});
    ~SendTesting() override;

    DesktopBackend &desktop() const { return *desktop_; }
    TargetWindowTracker &tracker() const { return *tracker_; }
    PhraseSender &sender() const { return *sender_; }

    // The windows on the desktop, and the first that fits.
    QList<RunningApplication> applications() const;
    std::optional<RunningApplication> applicationOf(qint32 pid) const;
    std::optional<RunningApplication> applicationWithId(const QString &appId) const;
    std::optional<RunningApplication> windowTitled(const QString &title) const;
    // The process of the window in front; -1 when none is.
    qint32 frontPid() const;
    bool isActive(const RunningApplication &application) const;
    // Asks the desktop to bring the window forward; true when the request was accepted.
    bool activate(const RunningApplication &application) const;

    // Where sends go now: the target's pid (-1), window (0) and app id (empty) when there is none.
    qint32 targetPid() const;
    quint64 targetWindow() const;
    QString targetAppId() const;

    // What the sender reported since the last clearReports().
    const QStringList &reports() const { return reports_; }
    void clearReports() { reports_.clear(); }
    // Sends and waits until the send is over and the reports it queued are in; false when that
    // took more than 20 s.
    bool sendAndSettle(const QString &json, bool isEnter);
    bool settle();
    // Sends, then reads what arrived: the lines read() gives beyond those it gave before the send,
    // once there are at least count of them (at most 10 s after the send is over). Fewer lines
    // when fewer came.
    QStringList sendAndRead(const QString &json, bool isEnter, const std::function<QStringList()> &read,
                            qsizetype count);
    // The same for a paste target's log.
    QStringList sendAndRead(const QString &json, bool isEnter, const QString &log, qsizetype count);
    // What landed in a paste target (tests/support/pastetarget or gtkreader.js) from this send, as
    // landed() gives it.
    QStringList sendAndLand(const QString &json, bool isEnter, const QString &log, qsizetype count);

    // A target's log lines as what landed: "text=…", "image=WxH[ bytes=N]", "nothing" for a
    // paste it declined, and the keys it saw ("enter keypad", "left", …); focus lines left out.
    static QStringList landed(const QStringList &lines);

    // Ends a program the test started: asked first, then killed.
    static void stopProcess(QProcess &process);
    // The lines a paste target (tests/support/pastetarget) logged so far; none before it starts.
    static QStringList logLines(const QString &path);
    // What a file holds now (a document a real program saved); empty when it cannot be read.
    static QByteArray fileBytes(const QString &path);
    // Writes a PNG of that size and colour into the picture folder; returns its bytes, empty when
    // it could not be written.
    static QByteArray writePicture(const QString &name = QStringLiteral("pic.png"), QSize size = {7, 5},
                                   QColor color = Qt::darkCyan);

    Settings &settings() { return settings_; }

private:
    Settings settings_;
    std::unique_ptr<DesktopBackend> desktop_;
    std::unique_ptr<TargetWindowTracker> tracker_;
    std::unique_ptr<PhraseSender> sender_;
    QStringList reports_;
};
