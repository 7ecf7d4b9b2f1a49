#pragma once

#include <QObject>

class QAction;
class QMenu;
class QWidget;

// The way to the quick bar while another program is in front: an entry of the tray icon's menu, a
// button of the home window and `quillora --quickbar`. One shared instance; the application
// listener gives the entry its action (iconClicked).
class QuickBarEntry : public QObject {
    Q_OBJECT
public:
    static QuickBarEntry &shared();

    // The menu entry, made by setupControlStripPresence; object name "SystemIcon".
    QAction *button = nullptr;

    // Makes the entry with its icon; the tray menu takes it in with addTo.
    void setupControlStripPresence();
    void addTo(QMenu *trayMenu);

    // Shows the quick bar when hidden, hides it when shown. False while there is none (before
    // sign-in).
    static bool toggleQuickBar();

    // Whether the window is the desktop's active window. Qt's own answer is not used: while the tray
    // menu is open it counts the menu's parent window as active, whichever window has the focus.
    static bool isKeyWindow(QWidget *window);
    // The entry's icon: a strip of keys on the control-strip blue.
    static QIcon quickBarIcon();

private:
    QuickBarEntry() = default;
};
