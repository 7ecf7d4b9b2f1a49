#pragma once

#include <QImage>
#include <QString>
#include <optional>

// One application on the desktop, seen through one of its top-level windows. A value: it is copied
// between the tracker, the send block and the views; nothing in it keeps the window alive.
class RunningApplication {
public:
    // Desktop application id where the window carries one, else the WM_CLASS class; absent when
    // the window has neither.
    std::optional<QString> bundleIdentifier;
    // -1 when the window does not say which process it belongs to.
    qint32 processIdentifier = -1;
    quint64 window = 0;
    QString localizedName;

    // Whether this window is the desktop's active window right now.
    bool isActive() const;
    // The window's icon, read when asked for (it can be large); null when it has none.
    QImage icon() const;
    // Asks the desktop to bring the window to the front; true when the request was accepted.
    // The original name starts with an underscore; the underscore moves to the end here.
    bool activate() const;
};
