#include "desktop/windowutils.h"

#include <QGuiApplication>
#include <QPointer>
#include <QScreen>
#include <QTimer>
#include <QWindow>

void WindowUtils::moveToCenter(QWindow *window) {
    if (!window)
        return;
    QPointer<QWindow> guarded(window);
    QTimer::singleShot(100, window, [guarded] {
        QScreen *screen = QGuiApplication::primaryScreen();
        if (!guarded || !screen)
            return;
        const QRect frame = guarded->frameGeometry();
        const QRect area = screen->geometry();
        // The screen's own origin is not added: the window goes to the centre of the first screen.
        guarded->setFramePosition(
            QPoint(area.width() / 2 - frame.width() / 2, area.height() / 2 - frame.height() / 2));
    });
}
