#pragma once

#include <QString>

// Told which emoji the user picked.
class EmojiPickerListener {
public:
    virtual ~EmojiPickerListener() = default;
    virtual void onItemClick(const QString &value) = 0;
};
