#pragma once

#include <QString>
#include <optional>

// One application on the desktop, seen through one of its top-level windows. A value: it is copied
// between the tracker, the send plan and the views; nothing in it keeps the window alive. What the
// window can do (its icon, being brought forward) the desktop back-end answers.
class RunningApplication {
public:
    // Desktop application id where the window carries one, else the WM_CLASS class; absent when
    // the window has neither.
    std::optional<QString> appId;
    // -1 when the window does not say which process it belongs to.
    qint32 pid = -1;
    quint64 window = 0;
    QString title;
};
