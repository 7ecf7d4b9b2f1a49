#pragma once

#include <QList>
#include <QString>
#include <memory>

// One piece of a phrase's content: type 1 is a run of text, type 2 a picture file name.
// A reference type: arrays hold shared pointers, so normalising can hand back the same item.
class ContentPiece {
public:
    static constexpr int Text = 1;
    static constexpr int Image = 2;

    long type = 0;
    QString value;

    ContentPiece() = default;
    ContentPiece(long type, QString value) : type(type), value(std::move(value)) {}
};

using ContentPiecePtr = std::shared_ptr<ContentPiece>;
using ContentPieces = QList<ContentPiecePtr>;

inline ContentPiecePtr makeContentPiece(long type, const QString &value) {
    return std::make_shared<ContentPiece>(type, value);
}
