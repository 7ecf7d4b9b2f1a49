#include "send/quickbarentry.h"

#include "model/app.h"
#include "send/desktopbackend.h"
#include "send/runningapplication.h"

#include <QAction>
#include <QIcon>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QThread>
#include <QWidget>

QuickBarEntry &QuickBarEntry::shared() {
    static QuickBarEntry *controller = new QuickBarEntry; // lives as long as the program
    return *controller;
}

QIcon QuickBarEntry::quickBarIcon() {
    QPixmap pixmap(64, 64);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath back;
    back.addRoundedRect(QRectF(2, 2, 60, 60), 12, 12);
    p.fillPath(back, QColor::fromRgbF(0.011246422f, 0.41680336f, 0.8202195f, 1.0f));
    // Three keys of the strip.
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(255, 255, 255, 235));
    for (int i = 0; i < 3; ++i)
        p.drawRoundedRect(QRectF(11 + i * 15, 24, 12, 16), 3, 3);
    p.end();
    return QIcon(pixmap);
}

void QuickBarEntry::setupControlStripPresence() {
    if (button)
        return;
    button = new QAction(quickBarIcon(), QStringLiteral("快捷栏"), this);
    button->setObjectName(QStringLiteral("SystemIcon"));
    button->setToolTip(QStringLiteral("快捷栏 F1–F12"));
}

void QuickBarEntry::addTo(QMenu *trayMenu) {
    if (!trayMenu)
        return;
    setupControlStripPresence();
    // At the top of the menu, where it is found without looking.
    const QList<QAction *> actions = trayMenu->actions();
    trayMenu->insertAction(actions.isEmpty() ? nullptr : actions.first(), button);
}

bool QuickBarEntry::toggleQuickBar() {
    auto *bar = qobject_cast<QWidget *>(App::quickBar.data());
    if (!bar)
        return false;
    if (bar->isVisible())
        bar->hide();
    else
        QMetaObject::invokeMethod(bar, "present", Qt::DirectConnection);
    return true;
}

bool QuickBarEntry::isKeyWindow(QWidget *window) {
    if (!window->isVisible())
        return false;
    if (!DesktopBackend::instance().available())
        return window->isActiveWindow();
    RunningApplication self;
    self.window = window->winId();
    // When Qt has just heard of the focus, the window manager may not have recorded it yet: a moment
    // for the two to agree.
    for (int i = 0; i < 10 && window->isActiveWindow(); ++i) {
        if (self.isActive())
            return true;
        QThread::msleep(10);
    }
    return self.isActive();
}
