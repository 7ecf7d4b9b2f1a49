#pragma once

#include <QString>

// The three data folders under <data folder>/appData. The data folder is QUILLORA_HOME when set,
// else the application's data location. Each value is computed once.
class LocalPath {
public:
    LocalPath() = delete;

    static QString home();
    static const QString &imageDir();
    static const QString &sqliteDir();
    static const QString &tempDir();

    // Creates the three folders.
    static void initDirs();
    static void createDir(const QString &dirPath);
};
