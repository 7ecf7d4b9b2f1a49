#include "pastetargetprocess.h"

#include "desktop.h"

#include <QFile>
#include <QTest>

PasteTargetProcess::~PasteTargetProcess() {
    process_.terminate();
    if (!process_.waitForFinished(5000))
        process_.kill();
}

bool PasteTargetProcess::start(const QString &title) {
    // The window manager must own the screen before the target maps, or nobody focuses it.
    if (!QTest::qWaitFor(desktop::windowManagerRunning, 30000)) {
        qWarning("no window manager");
        return false;
    }
    process_.start(QStringLiteral(PASTETARGET_BINARY),
                   {QStringLiteral("--log"), dir_.filePath(QStringLiteral("target.log")),
                    QStringLiteral("--title"), title});
    if (!process_.waitForStarted(10000))
        return false;
    // A first start on a fresh machine may build font caches for a while.
    QByteArray said;
    if (!QTest::qWaitFor([&] { return (said += process_.readAllStandardOutput()).contains("ready"); },
                         60000) ||
        !QTest::qWaitFor([&] { return (window_ = desktop::managedWindowOf(pid())) != 0; }, 30000)) {
        qWarning("the paste target did not show its window");
        return false;
    }
    return activate();
}

bool PasteTargetProcess::activate() {
    if (desktop::activeWindow() != window_)
        desktop::requestActivation(window_);
    return QTest::qWaitFor([this] { return desktop::activeWindow() == window_; }, 30000);
}

QStringList PasteTargetProcess::pasted() const {
    QFile file(dir_.filePath(QStringLiteral("target.log")));
    QStringList texts;
    if (!file.open(QIODevice::ReadOnly))
        return texts;
    for (const QByteArray &line : file.readAll().split('\n')) {
        const qsizetype at = line.indexOf(" text=");
        if (line.startsWith("paste ") && at > 0)
            texts << QString::fromUtf8(line.mid(at + 6));
    }
    return texts;
}

int PasteTargetProcess::enters() const {
    QFile file(dir_.filePath(QStringLiteral("target.log")));
    return file.open(QIODevice::ReadOnly) ? int(file.readAll().count("enter keypad")) : 0;
}
