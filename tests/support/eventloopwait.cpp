#include "eventloopwait.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

bool EventLoopWait::until(const std::function<bool()> &done, int timeoutMs) {
    if (done())
        return true;
    QDeadlineTimer deadline(timeoutMs);
    QEventLoop loop;
    QTimer check;
    check.setInterval(3);
    QObject::connect(&check, &QTimer::timeout, &loop, [&] {
        if (done() || deadline.hasExpired())
            loop.quit();
    });
    check.start();
    loop.exec();
    return done();
}
