#pragma once

#include <QString>

// Told when an emoji cell is clicked.
class cell_emoji_delegate {
public:
    virtual ~cell_emoji_delegate() = default;
    virtual void onClick(const QString &emoji) = 0;
};
