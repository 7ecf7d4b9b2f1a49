#include "cloud/changestream.h"

#include "cloud/cloudclient.h"
#include "model/logging.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QRandomGenerator>

ChangeStream::ChangeStream(CloudClient &cloud, QObject *parent) : QObject(parent), cloud_(cloud) {
    retry_.setSingleShot(true);
    connect(&retry_, &QTimer::timeout, this, &ChangeStream::connectNow);
    silence_.setSingleShot(true);
    silence_.setInterval(silenceMs);
    connect(&silence_, &QTimer::timeout, this, [this] {
        qCInfo(lcCloud, "change stream silent for %d s: opening it again", silenceMs / 1000);
        if (reply_)
            reply_->abort();
    });
}

ChangeStream::~ChangeStream() {
    stop();
}

int ChangeStream::backoffMs(int failures) {
    int ms = firstBackoffMs;
    for (int i = 1; i < failures && ms < maxBackoffMs; ++i)
        ms *= 2;
    return qMin(ms, maxBackoffMs);
}

void ChangeStream::start() {
    if (running_)
        return;
    running_ = true;
    failures_ = 0;
    connectNow();
}

void ChangeStream::stop() {
    running_ = false;
    retry_.stop();
    silence_.stop();
    if (QNetworkReply *reply = reply_.data()) {
        reply_.clear();
        reply->disconnect(this);
        reply->abort();
        reply->deleteLater();
    }
    if (open_) {
        open_ = false;
        Q_EMIT closed();
    }
}

void ChangeStream::connectNow() {
    if (!running_ || reply_)
        return;
    parser_.reset();
    reply_ = cloud_.openChangeStream();
    connect(reply_, &QNetworkReply::readyRead, this, &ChangeStream::readEvents);
    connect(reply_, &QNetworkReply::finished, this, &ChangeStream::finished);
    silence_.start();
}

void ChangeStream::readEvents() {
    if (!reply_)
        return;
    silence_.start();
    if (!open_) {
        const int status = reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (status != 200)
            return; // a refusal: its body is read when it finishes
        open_ = true;
        qCInfo(lcCloud, "change stream open");
        Q_EMIT opened();
    }
    for (const EventStreamParser::Event &event : parser_.feed(reply_->readAll())) {
        if (event.name == "libraries") {
            Q_EMIT librariesChanged();
        } else if (event.name == "version") {
            const QJsonObject data = QJsonDocument::fromJson(event.data).object();
            const QString dbname = data.value(QLatin1String("dbname")).toString();
            const qint64 version = data.value(QLatin1String("version")).toInteger();
            if (dbname.isEmpty() || version < 0) {
                qCWarning(lcCloud, "change stream: unreadable version event %s", event.data.constData());
                continue;
            }
            // A stream that carries events works: the next fault starts the back-off afresh.
            failures_ = 0;
            Q_EMIT versionAnnounced(dbname, version);
        }
    }
}

void ChangeStream::finished() {
    QNetworkReply *reply = reply_.data();
    if (!reply)
        return;
    reply_.clear();
    reply->deleteLater();
    silence_.stop();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const bool wasOpen = open_;
    if (open_) {
        open_ = false;
        Q_EMIT closed();
    }
    if (!running_)
        return;
    if (status == 404) {
        qCInfo(lcCloud, "the service has no change stream: team libraries are not followed");
        running_ = false;
        return;
    }
    ++failures_;
    int wait = backoffMs(failures_);
    if (status == 429) {
        const int after = reply->rawHeader("Retry-After").toInt();
        wait = qMax(wait, qBound(1, after, 600) * 1000);
    }
    // Spread out: a restarted service is not met by every member in the same instant.
    wait += int(QRandomGenerator::global()->bounded(wait / 4 + 1));
    qCInfo(lcCloud, "change stream %s (%s): opening it again in %d ms", wasOpen ? "closed" : "refused",
           status ? qUtf8Printable(QString::number(status)) : qUtf8Printable(reply->errorString()), wait);
    retryIn(wait);
}

void ChangeStream::retryIn(int ms) {
    retry_.start(ms);
}
