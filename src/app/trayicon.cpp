#include "app/trayicon.h"

#include "app/autostart.h"
#include "quickbar/quickbaricon.h"
#include "ui/messagebox.h"

#include <QAction>
#include <QIcon>
#include <QMenu>

TrayIcon::TrayIcon(QObject *parent) : QSystemTrayIcon(QIcon(":/icon-32.svg"), parent), menu_(new QMenu) {
    setToolTip(QStringLiteral("Quillora"));
    showAction = menu_->addAction(QStringLiteral("显示窗口"), this, &TrayIcon::showRequested);
    autostartAction = menu_->addAction(QStringLiteral("开机自动启动"));
    autostartAction->setCheckable(true);
    connect(autostartAction, &QAction::toggled, this, &TrayIcon::setAutostart);
    // The entry follows the file, which the agent may also have removed by hand.
    connect(menu_, &QMenu::aboutToShow, this, [this] {
        const QSignalBlocker quiet(autostartAction);
        autostartAction->setChecked(Autostart::isEnabled());
    });
    menu_->addSeparator();
    quitAction = menu_->addAction(QStringLiteral("退出"), this, &TrayIcon::quitRequested);
    // At the top of the menu, where it is found without looking.
    quickBarAction = new QAction(quickbaricon::make(), QStringLiteral("快捷栏"), this);
    quickBarAction->setObjectName(QStringLiteral("SystemIcon"));
    quickBarAction->setToolTip(QStringLiteral("快捷栏 F1–F12"));
    menu_->insertAction(showAction, quickBarAction);
    connect(quickBarAction, &QAction::triggered, this, &TrayIcon::quickBarRequested);
    setContextMenu(menu_);
    connect(this, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger)
            Q_EMIT showRequested();
    });
}

TrayIcon::~TrayIcon() {
    delete menu_; // a menu has no QObject parent here: it is a window of its own
}

void TrayIcon::setAutostart(bool enabled) {
    const Result<void> result = Autostart::setEnabled(enabled);
    if (!result) {
        const QSignalBlocker quiet(autostartAction);
        autostartAction->setChecked(Autostart::isEnabled());
        MessageBox::show(QStringLiteral("开机自动启动"), result.error(), nullptr, QMessageBox::Warning);
    }
}
