#pragma once

#include <QList>
#include <QString>
#include <memory>

// One piece of a phrase's content: type 1 is a run of text, type 2 a picture file name.
// A reference type: arrays hold shared pointers, so normalising can hand back the same item.
class DataJsonItem {
public:
    static constexpr int Text = 1;
    static constexpr int Image = 2;

    long type = 0;
    QString value;

    DataJsonItem() = default;
    DataJsonItem(long type, QString value) : type(type), value(std::move(value)) {}
};

using DataJsonItemPtr = std::shared_ptr<DataJsonItem>;
using DataJsonItemArr = QList<DataJsonItemPtr>;

inline DataJsonItemPtr makeJsonItem(long type, const QString &value) {
    return std::make_shared<DataJsonItem>(type, value);
}
