#include "standardoutput.h"

#include <QFile>
#include <cstdio>
#include <iostream>
#include <unistd.h>

StandardOutput::StandardOutput() {
    if (!file_.open())
        return;
    fflush(stdout);
    std::cout.flush();
    saved_ = dup(STDOUT_FILENO);
    dup2(file_.handle(), STDOUT_FILENO);
}

StandardOutput::~StandardOutput() {
    restore();
}

QString StandardOutput::text() {
    restore();
    return soFar();
}

QString StandardOutput::soFar() const {
    std::cout.flush();
    fflush(stdout);
    QFile read(file_.fileName());
    return read.open(QIODevice::ReadOnly) ? QString::fromUtf8(read.readAll()) : QString();
}

void StandardOutput::restore() {
    if (saved_ < 0)
        return;
    std::cout.flush();
    fflush(stdout);
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
    saved_ = -1;
}
