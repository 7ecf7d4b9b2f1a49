#pragma once

#include <QString>

// Path operations on texts. They differ on purpose when the separator is missing.

// From the last "." to the end, dot included; empty without a dot.
QString pathExtendName(const QString &path);
// Up to and including the last "/"; empty without one.
QString pathToDir(const QString &path);
// What follows the last "/"; empty without one.
QString pathToFilename(const QString &path);
// What follows the last "/"; the text itself without one (it is applied to text runs too).
QString toFilename(const QString &path);
// The file name cut before its last "."; a name without a dot whole; empty without a "/".
QString pathToFilenameNoEx(const QString &path);
