#pragma once

#include <QList>
#include <QString>

// The test desktop's keyboard: a remote desktop session of the shell's own compositor (the one the
// desktop portal opens for a program once the user allows it). While it is open the shell's seat
// has a keyboard, so windows get the keyboard focus, and with it the clipboard, as on a desktop
// with a real keyboard; it also answers the shell's dialogs as a user would. Needs the application
// object and the shell's session bus.
class MutterKeyboard {
public:
    static constexpr quint32 returnKey = 0xff0d, altKey = 0xffe9, shiftKey = 0xffe1;

    MutterKeyboard() = default;
    ~MutterKeyboard();
    MutterKeyboard(const MutterKeyboard &) = delete;
    MutterKeyboard &operator=(const MutterKeyboard &) = delete;

    // Empty on success, else the compositor's answer.
    QString open();
    void close();
    // The keys go down in order and come up in reverse, as a shortcut is typed.
    bool press(const QList<quint32> &keysyms);

private:
    bool key(quint32 keysym, bool pressed);
    QString session_;
};
