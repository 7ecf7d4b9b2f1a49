#pragma once

#include <QObject>
#include <QString>
#include <memory>
#include <optional>

// Global shortcuts for the quick bar's slots: a set of modifiers with F1 .. F12, grabbed on the root
// window of the X display, so the agent can send a phrase without leaving the keyboard or the chat
// program. Key presses arrive on a connection of its own, watched by the GUI thread's event loop.
class QuickBarShortcuts : public QObject {
    Q_OBJECT
public:
    explicit QuickBarShortcuts(QObject *parent = nullptr);
    ~QuickBarShortcuts() override;

    // X modifier mask of a text such as "Ctrl+Shift", "Shift+Super" or "None" (bare function keys);
    // absent for an empty text, an unknown name, or Ctrl with Alt (taken by the server).
    static std::optional<unsigned> parseModifiers(const QString &text);

    // Grabs the modifiers with F1 .. F12, replacing an earlier set; an empty text releases them.
    // False, with the reason on standard output, when there is no X display, the text is not
    // understood, or another program already holds one of the keys (the others stay grabbed).
    bool setModifiers(const QString &text);
    // The slots whose keys are grabbed now.
    int grabbedCount() const;

Q_SIGNALS:
    // The key of slot n (0 for F1) went down.
    void pressed(int index);

private:
    void readEvents();

    struct Private;
    std::unique_ptr<Private> d;
};
