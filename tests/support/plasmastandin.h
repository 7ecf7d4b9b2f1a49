#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>

// A scripted Wayland compositor that plays KWin's side of the exchanges a KDE Plasma desktop has
// with Quillora, as recorded from KWin 5.27: org_kde_plasma_window_management (windows announced by
// uuid, described, then initial_state; set_state activates), org_kde_kwin_fake_input (keys taken
// only after authenticate, read through the seat's keymap in its active layout),
// zwlr_data_control_manager_v1, and a seat whose keyboards get the keymap. With several layouts it
// tells the active one on the session bus, as KWin does (org.kde.keyboard). Its windows stand for
// programs that paste on Ctrl+V: at that stroke the stand-in reads the clipboard as the window's
// program would. Runs on a thread of its own; every call may come from any thread.
class PlasmaStandIn {
public:
    struct Offers {
        bool windowManagement = true;
        bool fakeInput = true;
        bool dataControl = true;
        // Whether keyboards get the keymap (the US layout until setKeymap).
        bool keymap = true;
    };

    explicit PlasmaStandIn(Offers offers);
    PlasmaStandIn() : PlasmaStandIn(Offers{}) {}
    ~PlasmaStandIn();
    PlasmaStandIn(const PlasmaStandIn &) = delete;
    PlasmaStandIn &operator=(const PlasmaStandIn &) = delete;

    // Listens on a socket of its own and points WAYLAND_DISPLAY and XDG_RUNTIME_DIR of this process
    // at it (DISPLAY is removed: there is no XWayland).
    bool start();
    QString socket() const;

    // A window as a program maps it; it is announced to every client. Returns its number.
    int addWindow(const QString &appId, const QString &title, quint32 pid);
    // The user brings a window to the front (0: the desktop itself has the focus).
    void activate(int window);
    void setTitle(int window, const QString &title);
    void closeWindow(int window);
    QString activeAppId() const;
    // The user's layouts change: the keymap (xkbcommon text) goes to every keyboard, and keys are
    // read through layout active.
    void setKeymap(const QByteArray &text, quint32 active);
    // The keymap text xkbcommon makes from rule names, as the compositor builds it from the
    // user's settings ("us,ru" and ",dvorak" for two layouts).
    static QByteArray keymapText(const char *layouts, const char *variants, const char *options = nullptr);

    // What the windows received, in order: "<app id> paste text=…", "<app id> paste image bytes=N",
    // "<app id> enter keypad", "<app id> left", "<app id> key N"; a paste is filled in once its
    // data has been read.
    QStringList landed() const;
    // Every key event taken, as "<code> down" or "<code> up".
    QStringList keyEvents() const;
    // What authenticate said, "application: reason"; empty before it.
    QString authentication() const;
    // Key events that came before authenticate and were dropped, as KWin drops them.
    int unauthenticatedKeys() const;
    // Pointer, touch and other requests than keys: a keyboard tool sends none.
    int otherInput() const;

    struct State;

private:
    std::unique_ptr<State> d;
};
