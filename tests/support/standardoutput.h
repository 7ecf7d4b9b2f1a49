#pragma once

#include <QString>
#include <QTemporaryFile>

// What this process prints on standard output while it lives.
class StandardOutput {
public:
    StandardOutput();
    ~StandardOutput();
    StandardOutput(const StandardOutput &) = delete;
    StandardOutput &operator=(const StandardOutput &) = delete;

    // Stops capturing and returns what was printed.
    QString text();
    // What was printed so far; capturing goes on.
    QString soFar() const;

private:
    void restore();

    QTemporaryFile file_;
    int saved_ = -1;
};
