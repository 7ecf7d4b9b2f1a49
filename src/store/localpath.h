#pragma once

#include <QString>

// The three data folders under <data folder>/appData. The data folder is QUILLORA_HOME when set,
// else the application's data location. Each value is computed once.
namespace LocalPath {

QString home();
const QString &imageDir();
const QString &sqliteDir();
const QString &tempDir();

// Creates the three folders.
void initDirs();
void createDir(const QString &dirPath);

} // namespace LocalPath
