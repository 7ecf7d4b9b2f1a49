#pragma once

#include <QList>
#include <memory>

// Watches, on a connection of its own, every change of the desktop's active window and every time a
// window loses the keyboard focus, so a test sees a focus that moved for a moment and came back.
class FocusWatch {
public:
    // Starts watching the active window, and the focus of `window`.
    explicit FocusWatch(quint64 window);
    ~FocusWatch();
    FocusWatch(const FocusWatch &) = delete;
    FocusWatch &operator=(const FocusWatch &) = delete;

    // The active windows announced since the start, in order (repeats included).
    QList<quint64> activeWindows();
    // How often the watched window lost the focus to another window.
    int focusLosses();

private:
    void read();

    struct Private;
    std::unique_ptr<Private> d;
};
