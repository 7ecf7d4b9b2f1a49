#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

// What a phrase holds: texts and pictures in order. Parsed once from the stored JSON text (a compact
// array of {"type": 1 for text or 2 for a picture file name, "value"}), where a phrase enters the
// program; the stored text itself travels unchanged beside it.
class PhraseContent {
public:
    struct Piece {
        enum class Kind { Text, Picture };
        Kind kind = Kind::Text;
        QString value;

        bool isText() const { return kind == Kind::Text; }
        bool isPicture() const { return kind == Kind::Picture; }
        bool operator==(const Piece &) const = default;
    };

    PhraseContent() = default;
    explicit PhraseContent(QList<Piece> pieces) : pieces_(std::move(pieces)) {}

    // Invalid (and empty) when the text is not a JSON array; elements that are not objects of a
    // known type are left out.
    static PhraseContent fromJson(const QString &json);
    // The canonical JSON text of the normalised pieces; every value passes through toFilename.
    QString toJson() const;

    static PhraseContent text(const QString &text) { return PhraseContent({{Piece::Kind::Text, text}}); }

    bool isValid() const { return valid_; }
    bool isEmpty() const { return pieces_.isEmpty(); }
    const QList<Piece> &pieces() const & { return pieces_; }
    // By value from a temporary, so that `for (… : x.normalized().pieces())` is safe.
    QList<Piece> pieces() && { return std::move(pieces_); }

    // Adjacent texts merged, empty texts dropped.
    PhraseContent normalized() const;
    // All text joined; absent when there is none.
    std::optional<QString> joinedText() const;
    // The joined text without spaces and line breaks, as lists show it.
    QString compactText() const;
    // Picture names, a name left out when it occurs inside the concatenation of earlier names.
    QStringList distinctPictureNames() const;
    // Every non-empty picture name, repeats kept.
    QStringList allPictureNames() const;
    // The stored "images" column: each distinct name followed by "|".
    QString imagesColumn() const;

    bool operator==(const PhraseContent &) const = default;

private:
    QList<Piece> pieces_;
    bool valid_ = true;
};
