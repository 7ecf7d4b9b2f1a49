#pragma once

#include <QString>
#include <QTemporaryDir>

// Points QUILLORA_HOME and XDG_CONFIG_HOME (and XDG_DATA_HOME) at fresh temporary folders, so a test
// never reads or writes real user data. Create one before QCoreApplication and before any LocalPath use.
class TestEnv {
public:
    TestEnv();

    QString home() const { return home_.path(); }
    QString config() const { return config_.path(); }

private:
    QTemporaryDir home_;
    QTemporaryDir config_;
};
