#pragma once

#include "model/contentpiece.h"

#include <QString>
#include <QStringList>
#include <optional>

// Operations of the phrase content format (jsonValue: a compact JSON array of {"type","value"}).

// Normalised pieces: adjacent texts merged, empty texts dropped, picture items kept as the same objects.
ContentPieces normalizePieces(const ContentPieces &items);
// Canonical jsonValue text; every value passes through toFilename, text runs included.
QString toJsonValue(const ContentPieces &items);
// All text joined; absent when empty.
std::optional<QString> getStringValue(const ContentPieces &items);
// Picture names, a name skipped when it occurs inside the concatenation of earlier names.
std::optional<QStringList> distinctPictureNames(const ContentPieces &items);
// Every non-empty picture name, repeats kept.
std::optional<QStringList> allPictureNames(const ContentPieces &items);

// Parses a jsonValue; absent when the text is not a JSON array. Non-object elements are skipped.
std::optional<ContentPieces> parseContent(const QString &jsonValue);

// The string with every space, line feed and carriage return removed.
QString removeWhitespace(const QString &s);

// The derived texts and images columns of a stored phrase.
QString jsonStringToString(const QString &jsonString);
QString jsonStringToImageString(const QString &jsonString);
// Both columns from one parse (what a store writes for every phrase).
struct DerivedColumns {
    QString texts;
    QString images;
};
DerivedColumns jsonStringToColumns(const QString &jsonString);
