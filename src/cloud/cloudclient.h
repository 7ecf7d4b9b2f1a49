#pragma once

#include "cloud/httpform.h"
#include "model/libraryinfo.h"
#include "model/phrase.h"
#include "model/phraseclass.h"
#include "model/result.h"

#include <QJsonValue>
#include <QList>
#include <QNetworkAccessManager>
#include <QObject>
#include <QString>
#include <functional>
#include <optional>

class QNetworkReply;
class QNetworkRequest;
class Settings;

// The client of quillora-cloud: one network manager, the service address and the session cookie
// from the settings, and every endpoint the program calls. Use it on the GUI thread; every handler
// is called there. dbname names a library on the service.
class CloudClient : public QObject {
    Q_OBJECT
public:
    template <typename T> using Handler = std::function<void(const Result<T> &)>;
    using ReplyHandler = std::function<void(const std::optional<QJsonValue> &)>;

    explicit CloudClient(Settings &settings, QObject *parent = nullptr);

    // The service's base address followed directly by path (every path starts with "/").
    QString url(const QString &path) const;
    // The service's web site, shown in the update message, and its two account pages.
    QString webAddress() const;
    QString registerUrl() const;
    QString resetUrl() const;

    // A request that never completes fails after this long (60 s unless changed).
    void setTransferTimeout(int ms) { timeoutMs_ = ms; }
    int transferTimeout() const { return timeoutMs_; }
    // The signed-in account, sent as "username" with every form request.
    void setUsername(const QString &username) { username_ = username; }
    const QString &username() const { return username_; }

    // -- account and version --
    // The account name as the service spells it, or the text to show.
    void signIn(const QString &username, const QString &password, Handler<QString> handler);
    // The whole reply of the version check, or nothing when the transport failed.
    void checkVersion(ReplyHandler handler);
    // The whole reply of the session check, or nothing when the transport failed.
    void checkSession(ReplyHandler handler);
    // The password as it travels: RC4 with the fixed key, then Base64.
    static QString encipherPassword(const QString &password);

    // -- classes --
    // The new class's sign.
    void createClass(const QString &label, const QString &position, const QString &dbname,
                     Handler<QString> handler);
    // `delete` is a keyword; remove is the nearest legal name.
    void removeClass(const QString &sign, const QString &dbname, Handler<void> handler);
    void renameClass(const QString &sign, const QString &newLabel, const QString &dbname,
                     Handler<void> handler);
    void swapClasses(const QString &sign1, const QString &sign2, const QString &dbname,
                     Handler<void> handler);
    // A library without classes is refused: the service never gives one.
    void fetchClasses(const QString &dbname, Handler<QList<PhraseClass>> handler);

    // -- phrases --
    void createPhrase(const QString &parentSign, const QString &label, const QString &jsonValue,
                      const QString &position, const QString &dbname, Handler<QString> handler);
    void removePhrase(const QString &sign, const QString &dbname, Handler<void> handler);
    void updatePhrase(const QString &newParentSign, const QString &sign, const QString &newLabel,
                      const QString &newJsonValue, const QString &dbname, Handler<void> handler);
    void swapPhrases(const QString &sign1, const QString &sign2, const QString &dbname,
                     Handler<void> handler);
    // An empty list is fine.
    void fetchPhrases(const QString &dbname, Handler<QList<Phrase>> handler);

    // -- pictures --
    // The picture as Base64 text. A GET with the name Base64-encoded as the last path segment.
    void downloadPicture(const QString &filename, Handler<QString> handler);
    // True only when the service knows the name; a failure reads as false. dbname: the library the
    // picture is for, the account's own when empty.
    void pictureExists(const QString &filename, std::function<void(bool)> handler,
                       const QString &dbname = {});
    // Multipart upload of the picture file of that name; progress in whole percent.
    void uploadPicture(const QString &filename, Handler<void> handler, std::function<void(int)> progress,
                       const QString &dbname = {});

    // -- team libraries --
    // The libraries the account may use, its own first.
    void fetchLibraries(Handler<QList<LibraryInfo>> handler);
    // What changed in a library after the version the client holds.
    struct Changes {
        qint64 version = 0;
        bool full = false; // every phrase is listed: those not listed are gone
        QList<PhraseClass> classes;
        QList<Phrase> phrases;
        QStringList deleted;
    };
    void fetchChanges(const QString &dbname, qint64 since, Handler<Changes> handler);
    // Counts of sends per phrase sign, as JSON text, under a batch id the service counts once.
    enum class Report { Accepted, Refused, Failed };
    void reportUsage(const QString &dbname, const QString &batch, const QString &counts,
                     std::function<void(Report, const QString &)> handler);
    // The change stream, open until the service ends it or the caller aborts it; the caller reads it
    // as it arrives and deletes it.
    QNetworkReply *openChangeStream();

    static inline const char *networkFailure = "网络连接失败:";
    static inline const char *passwordKey = "507tuvo3164";
    // The client's version as the service knows it.
    static constexpr int version = 1;

private:
    QNetworkRequest request(const QString &path) const;
    void post(const QString &path, const FormFields &fields, std::function<void(QNetworkReply *)> done);
    // A JSON reply; a body that is not JSON counts as a failed request and its cookie is not kept.
    void postJson(const QString &path, const FormFields &fields, Handler<QJsonValue> handler);
    // A library call: "state" 1 is success, else the reply's "msg" is the error.
    void libraryRequest(const QString &path, const FormFields &fields, Handler<QJsonValue> handler);
    void libraryCall(const QString &path, const FormFields &fields, Handler<void> handler);

    Settings &settings_;
    QNetworkAccessManager manager_;
    QString username_ = QStringLiteral("123"); // the owner of a library kept before any sign-in
    int timeoutMs_ = 60000;
};
