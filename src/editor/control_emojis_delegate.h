#pragma once

#include <QString>

// Told which emoji the user picked.
class control_emojis_delegate {
public:
    virtual ~control_emojis_delegate() = default;
    virtual void onItemClick(const QString &value) = 0;
};
