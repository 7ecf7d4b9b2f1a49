#include "api/quota.h"

#include "api/apireply.h"
#include "storage/storage.h"

std::string Quota::problem(const UserRecord &user, std::int64_t adding) const {
    const auto used = storage_.storageUsed(user.id);
    if (!used.ok())
        return ApiReply::storageFailedText(used.error());
    if (*used + adding <= bytes_)
        return {};
    return "云端存储空间已满（每个账号最多" + std::to_string(bytes_ / (1024 * 1024)) +
           "MB），请删除部分话术或图片后再试";
}
