#pragma once

#include <QObject>

class QAction;
class QMenu;
class QWidget;

// The way to the quick bar while another program is in front: an entry of the tray icon's menu.
// One shared instance; the application listener gives the entry its action (iconClicked).
class QuickBarEntry : public QObject {
    Q_OBJECT
public:
    static QuickBarEntry &shared();

    // The menu entry, made by setupControlStripPresence; object name "SystemIcon".
    QAction *button = nullptr;

    // Makes the entry with its icon. The tray menu exists only once the home window has appeared, so
    // that menu takes the entry in with addTo.
    void setupControlStripPresence();
    void addTo(QMenu *trayMenu);

    // Whether the window is the desktop's active window. Qt's own answer is not used: while the tray
    // menu is open it counts the menu's parent window as active, whichever window has the focus.
    static bool isKeyWindow(QWidget *window);
    // The entry's icon: a strip of keys on the control-strip blue.
    static QIcon quickBarIcon();

private:
    QuickBarEntry() = default;
};
