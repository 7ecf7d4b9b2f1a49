#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <memory>
#include <optional>
#include <utility>

// Global shortcuts for the quick bar's slots: a set of modifiers with F1 .. F12, grabbed on the root
// window of the X display, so the agent can send a phrase without leaving the keyboard or the chat
// program. Key presses arrive on a connection of its own, watched by the GUI thread's event loop.
// The keyboard palette's one shortcut is the same with a single key of its own.
class QuickBarShortcuts : public QObject {
    Q_OBJECT
public:
    // F1 .. F12, for the quick bar.
    explicit QuickBarShortcuts(QObject *parent = nullptr);
    // Other keys (X keysyms); `what` names them in the lines logged.
    QuickBarShortcuts(const QList<unsigned long> &keys, const QString &what, QObject *parent = nullptr);

    // A whole shortcut such as "Ctrl+Shift+Space" or "Super+P": its modifiers ("None" for none) and
    // its key; absent when either part is not understood.
    static std::optional<std::pair<QString, unsigned long>> parseShortcut(const QString &text);
    ~QuickBarShortcuts() override;

    // X modifier mask of a text such as "Ctrl+Shift", "Shift+Super" or "None" (bare function keys);
    // absent for an empty text, an unknown name, or Ctrl with Alt (taken by the server).
    static std::optional<unsigned> parseModifiers(const QString &text);

    // Grabs the modifiers with F1 .. F12, replacing an earlier set; an empty text releases them.
    // False, with the reason on standard output, when there is no X display, the text is not
    // understood, or another program already holds one of the keys (the others stay grabbed).
    bool setModifiers(const QString &text);
    // The keys grabbed now.
    int grabbedCount() const;

Q_SIGNALS:
    // Key n (0 for F1) went down.
    void pressed(int index);

private:
    void readEvents();

    struct Private;
    std::unique_ptr<Private> d;
};
