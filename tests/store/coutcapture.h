#pragma once

#include <QString>
#include <iostream>
#include <sstream>

// Collects what the code under test writes to std::cout while it lives.
class CoutCapture {
public:
    CoutCapture() : previous_(std::cout.rdbuf(buffer_.rdbuf())) {}
    ~CoutCapture() { std::cout.rdbuf(previous_); }
    CoutCapture(const CoutCapture &) = delete;
    CoutCapture &operator=(const CoutCapture &) = delete;

    QString text() const { return QString::fromStdString(buffer_.str()); }
    void clear() { buffer_.str({}); }

private:
    std::ostringstream buffer_;
    std::streambuf *previous_;
};
