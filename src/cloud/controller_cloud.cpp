#include "cloud/controller_cloud.h"

#include "cloud/api_word_class.h"
#include "cloud/api_word_image.h"
#include "cloud/api_word_list.h"
#include "library/controller_word_class.h"
#include "library/controller_word_list.h"
#include "model/app.h"
#include "store/appfileutil.h"
#include "store/base64ops.h"

#include <QCoreApplication>
#include <QSemaphore>
#include <QThreadPool>
#include <iostream>
#include <memory>
#include <string>

void controller_cloud::setCloud(bool value) {
    cloud_ = value;
    if (!delegate)
        return;
    if (value)
        delegate->onCloudStart();
    else
        delegate->onCloudStop();
}

void controller_cloud::cloudAll(std::function<void()> action) {
    if (cloud_) {
        if (action)
            action();
        return;
    }
    setCloud(true);
    const QString dbname = App::userInfo().username;
    cloud_word_class(dbname, [dbname, action]() {
        cloud_word_list(dbname, [dbname, action]() {
            icloudDowImage(dbname, [action]() {
                setCloud(false);
                std::cout << "==================同步完毕" << std::endl;
                if (action)
                    action();
            });
        });
    });
}

void controller_cloud::cloud_word_class(const QString &dbname, std::function<void()> action) {
    std::cout << "XXXXXXXXXX" << std::endl;
    api_word_class::getAll(dbname, [dbname, action](const apiResultWordClasGetAll &r) {
        std::cout << "XXCCCCCCCC" << std::endl;
        if (r.isSuccess()) {
            // One transaction: a crash midway keeps the old classes.
            controller_word_class::db().replaceAll(dbname, r.data());
            controller_word_class::setDataChange();
        } else {
            std::cout << "Err msg = " << r.msg().toStdString() << std::endl;
            std::cout << "dbName = " << dbname.toStdString() << std::endl;
        }
        if (action)
            action();
    });
}

void controller_cloud::cloud_word_list(const QString &dbname, std::function<void()> action) {
    api_word_list::getAll1(dbname, [dbname, action](const apiResultWordListGetAll &r) {
        if (r.isSuccess()) {
            // Tens of thousands of lines: one buffer and one flush instead of a flush per line.
            std::string lines;
            for (const DataWordList &item : r.data()) {
                lines += "---->";
                lines += item.label.toStdString();
                lines += "<\n";
            }
            std::cout << lines << std::flush;
            controller_word_list::db().replaceAll(dbname, r.data());
            controller_word_list::setDataChange();
        }
        if (action)
            action();
    });
}

namespace {

const char *const DOWNLOAD_PREFIX = "============下载图片========== ";

} // namespace

void controller_cloud::icloudDowImage(const QString &dbUname, std::function<void()> action) {
    // The names are read here on the GUI thread, which owns the database connection.
    const QStringList names = controller_word_list::db().getImagenameAll(dbUname);
    QThreadPool::globalInstance()->start([names, action]() {
        std::cout << "==========下载云图片。数量 " << names.size() << std::endl;
        auto semaphore = std::make_shared<QSemaphore>(0);
        for (const QString &name : names) {
            const std::string n = name.toStdString();
            std::cout << DOWNLOAD_PREFIX << n << std::endl;
            if (!AppFileUtil::isPlainFileName(name)) {
                std::cout << DOWNLOAD_PREFIX << n << " - 图片名无效，跳过" << std::endl;
                continue;
            }
            if (AppFileUtil::exist(name)) {
                semaphore->release();
                std::cout << DOWNLOAD_PREFIX << n << " - 无需下载" << std::endl;
            } else {
                api_word_image::dowImage(name, [semaphore, name, n](const ApiResulrDowImage &r) {
                    // Released before the write: the next request may start while this one is saved.
                    semaphore->release();
                    if (!r.isSuccess()) {
                        std::cout << DOWNLOAD_PREFIX << n << "=>下载失败" << std::endl;
                        return;
                    }
                    const std::optional<QByteArray> data = decodeBase64Data(r.imageBase64data());
                    if (!data)
                        return;
                    AppFileUtil::saveImage(*data, name);
                    std::cout << "============下载结果 " << n << "=>下载完毕" << std::endl;
                });
            }
            semaphore->acquire();
        }
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [action]() {
                if (action)
                    action();
            },
            Qt::QueuedConnection);
    });
}
