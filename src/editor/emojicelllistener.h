#pragma once

#include <QString>

// Told when an emoji cell is clicked.
class EmojiCellListener {
public:
    virtual ~EmojiCellListener() = default;
    virtual void onClick(const QString &emoji) = 0;
};
