#include "cloud/librarysync.h"

#include "cloud/cloudclient.h"
#include "model/logging.h"
#include "store/appfileutil.h"
#include "store/base64ops.h"
#include "store/classstore.h"
#include "store/phrasestore.h"

#include <QPointer>
#include <QTimer>
#include <memory>
#include <optional>

LibrarySync::LibrarySync(CloudClient &cloud, ClassStore &classes, PhraseStore &phrases, QString dbname,
                         QObject *parent)
    : QObject(parent), cloud_(cloud), classes_(classes), phrases_(phrases), dbname_(std::move(dbname)) {}

void LibrarySync::syncAll(std::function<void()> action) {
    if (running_) {
        if (action)
            action();
        return;
    }
    running_ = true;
    Q_EMIT syncStarted();
    syncClasses([this, action]() {
        syncPhrases([this, action]() {
            downloadMissingPictures([this, action]() {
                running_ = false;
                Q_EMIT syncFinished();
                qCInfo(lcCloud, "==================同步完毕");
                if (action)
                    action();
            });
        });
    });
}

void LibrarySync::syncClasses(std::function<void()> action) {
    QPointer<LibrarySync> self(this);
    cloud_.fetchClasses(dbname_, [self, action](const Result<QList<PhraseClass>> &r) {
        if (!self)
            return;
        if (r && r.value().isEmpty()) {
            Q_EMIT self->libraryRefused(
                QStringLiteral("致命错误: 服务返回的分类列表为空 (/api/word/class/getAll), 程序退出"));
            return;
        }
        if (r)
            self->classes_.replaceAll(self->dbname_, r.value()); // one transaction: a crash keeps the old
        else
            qCWarning(lcCloud, "reading the classes of %s failed: %s", qUtf8Printable(self->dbname_),
                      qUtf8Printable(r.error()));
        if (action)
            action();
    });
}

void LibrarySync::syncPhrases(std::function<void()> action) {
    QPointer<LibrarySync> self(this);
    cloud_.fetchPhrases(dbname_, [self, action](const Result<QList<Phrase>> &r) {
        if (!self)
            return;
        if (r) {
            // Tens of thousands of lines: one message instead of one per phrase.
            QString lines;
            for (const Phrase &item : r.value())
                lines += QStringLiteral("---->") + item.label + QStringLiteral("<\n");
            lines.chop(1);
            if (!lines.isEmpty())
                qCInfo(lcCloud, "%s", qUtf8Printable(lines));
            self->phrases_.replaceAll(self->dbname_, r.value());
        } else {
            qCWarning(lcCloud, "reading the phrases of %s failed: %s", qUtf8Printable(self->dbname_),
                      qUtf8Printable(r.error()));
        }
        if (action)
            action();
    });
}

namespace {

const char *const downloadPrefix = "============下载图片========== ";

// The names still to look at; each download's reply starts the next one, so nothing ever waits.
struct PictureQueue {
    QStringList names;
    qsizetype next = 0;
    std::function<void()> action;
    QPointer<LibrarySync> owner;
    CloudClient *cloud = nullptr;
};

void downloadNext(const std::shared_ptr<PictureQueue> &queue) {
    while (queue->owner && queue->next < queue->names.size()) {
        const QString name = queue->names.at(queue->next++);
        qCInfo(lcCloud, "%s%s", downloadPrefix, qUtf8Printable(name));
        if (!AppFileUtil::isPlainFileName(name)) {
            qCWarning(lcCloud, "%s%s - 图片名无效，跳过", downloadPrefix, qUtf8Printable(name));
            continue;
        }
        if (AppFileUtil::exist(name)) {
            qCInfo(lcCloud, "%s%s - 无需下载", downloadPrefix, qUtf8Printable(name));
            continue;
        }
        queue->cloud->downloadPicture(name, [queue, name](const Result<QString> &r) {
            if (!r) {
                qCWarning(lcCloud, "%s%s=>下载失败", downloadPrefix, qUtf8Printable(name));
            } else if (const std::optional<QByteArray> data = decodeBase64Data(r.value())) {
                AppFileUtil::saveImage(*data, name);
                qCInfo(lcCloud, "============下载结果 %s=>下载完毕", qUtf8Printable(name));
            }
            downloadNext(queue);
        });
        return;
    }
    if (!queue->owner)
        return;
    // Always after the caller has returned, as when every picture was downloaded.
    QTimer::singleShot(0, queue->owner, [action = queue->action]() {
        if (action)
            action();
    });
}

} // namespace

void LibrarySync::downloadMissingPictures(std::function<void()> action) {
    auto queue = std::make_shared<PictureQueue>();
    queue->names = phrases_.allPictureNames(dbname_);
    queue->action = std::move(action);
    queue->owner = this;
    queue->cloud = &cloud_;
    qCInfo(lcCloud, "==========下载云图片。数量 %lld", qlonglong(queue->names.size()));
    downloadNext(queue);
}
