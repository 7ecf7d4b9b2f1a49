#include "cloud/librarysync.h"

#include "cloud/classapi.h"
#include "cloud/phraseapi.h"
#include "cloud/pictureapi.h"
#include "model/app.h"
#include "store/appfileutil.h"
#include "store/base64ops.h"
#include "store/classstore.h"
#include "store/phrasestore.h"

#include <QCoreApplication>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

void LibrarySync::setCloud(bool value) {
    cloud_ = value;
    if (!listener)
        return;
    if (value)
        listener->onSyncStart();
    else
        listener->onSyncStop();
}

void LibrarySync::cloudAll(std::function<void()> action) {
    if (cloud_) {
        if (action)
            action();
        return;
    }
    setCloud(true);
    const QString dbname = App::userInfo().username;
    syncClasses(dbname, [dbname, action]() {
        syncPhrases(dbname, [dbname, action]() {
            downloadMissingPictures(dbname, [action]() {
                setCloud(false);
                std::cout << "==================同步完毕" << std::endl;
                if (action)
                    action();
            });
        });
    });
}

void LibrarySync::syncClasses(const QString &dbname, std::function<void()> action) {
    std::cout << "XXXXXXXXXX" << std::endl;
    ClassApi::getAll(dbname, [dbname, action](const ClassListResult &r) {
        std::cout << "XXCCCCCCCC" << std::endl;
        if (r.isSuccess()) {
            // One transaction: a crash midway keeps the old classes.
            ClassStore::shared().replaceAll(dbname, r.data());
            ClassStore::notifyChanged();
        } else {
            std::cout << "Err msg = " << r.msg().toStdString() << std::endl;
            std::cout << "dbName = " << dbname.toStdString() << std::endl;
        }
        if (action)
            action();
    });
}

void LibrarySync::syncPhrases(const QString &dbname, std::function<void()> action) {
    PhraseApi::getAll1(dbname, [dbname, action](const PhraseListResult &r) {
        if (r.isSuccess()) {
            // Tens of thousands of lines: one buffer and one flush instead of a flush per line.
            std::string lines;
            for (const Phrase &item : r.data()) {
                lines += "---->";
                lines += item.label.toStdString();
                lines += "<\n";
            }
            std::cout << lines << std::flush;
            PhraseStore::shared().replaceAll(dbname, r.data());
            PhraseStore::notifyChanged();
        }
        if (action)
            action();
    });
}

namespace {

const char *const DOWNLOAD_PREFIX = "============下载图片========== ";

// The names still to look at; each download's reply starts the next one, so nothing ever waits.
struct PictureQueue {
    QStringList names;
    qsizetype next = 0;
    std::function<void()> action;
};

void downloadNext(const std::shared_ptr<PictureQueue> &queue) {
    while (queue->next < queue->names.size()) {
        const QString name = queue->names.at(queue->next++);
        const std::string n = name.toStdString();
        std::cout << DOWNLOAD_PREFIX << n << std::endl;
        if (!AppFileUtil::isPlainFileName(name)) {
            std::cout << DOWNLOAD_PREFIX << n << " - 图片名无效，跳过" << std::endl;
            continue;
        }
        if (AppFileUtil::exist(name)) {
            std::cout << DOWNLOAD_PREFIX << n << " - 无需下载" << std::endl;
            continue;
        }
        PictureApi::downloadPicture(name, [queue, name, n](const PictureDownloadResult &r) {
            if (!r.isSuccess()) {
                std::cout << DOWNLOAD_PREFIX << n << "=>下载失败" << std::endl;
            } else if (const std::optional<QByteArray> data = decodeBase64Data(r.imageBase64data())) {
                AppFileUtil::saveImage(*data, name);
                std::cout << "============下载结果 " << n << "=>下载完毕" << std::endl;
            }
            downloadNext(queue);
        });
        return;
    }
    // Always after the caller has returned, as when every picture was downloaded.
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [action = queue->action]() {
            if (action)
                action();
        },
        Qt::QueuedConnection);
}

} // namespace

void LibrarySync::downloadMissingPictures(const QString &dbUname, std::function<void()> action) {
    auto queue = std::make_shared<PictureQueue>();
    queue->names = PhraseStore::shared().allPictureNames(dbUname);
    queue->action = std::move(action);
    std::cout << "==========下载云图片。数量 " << queue->names.size() << std::endl;
    downloadNext(queue);
}
