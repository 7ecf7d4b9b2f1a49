#pragma once

#include <QSystemTrayIcon>

class QAction;
class QMenu;

// The program's icon in the system tray, there from launch, before any sign-in. Its menu: the quick
// bar's entry, 显示窗口, 开机自动启动 and 退出. A click on the icon shows the window.
class TrayIcon : public QSystemTrayIcon {
    Q_OBJECT
public:
    explicit TrayIcon(QObject *parent = nullptr);
    ~TrayIcon() override;

    QMenu *menu() const { return menu_; }
    // The way to the quick bar while another program is in front.
    QAction *quickBarAction = nullptr;
    QAction *showAction = nullptr;
    QAction *autostartAction = nullptr;
    QAction *quitAction = nullptr;

Q_SIGNALS:
    void showRequested();
    void quickBarRequested();
    void quitRequested();

private:
    void setAutostart(bool enabled);

    QMenu *menu_;
};
