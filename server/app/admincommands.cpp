#include "app/admincommands.h"

#include "api/accounts.h"
#include "api/contentrules.h"
#include "log/servicelog.h"
#include "security/passwordhash.h"
#include "security/secrets.h"
#include "storage/storage.h"

#include <chrono>
#include <functional>
#include <istream>
#include <nlohmann/json.hpp>

namespace {

const char *const demoName = "demo";
const char *const demoPassword = "demo123456";

// A 16x16 gradient, small enough to keep in the binary.
const char *const demoPicture = "iVBORw0KGgoAAAANSUhEUgAAABAAAAAQCAIAAACQkWg2AAAB2ElEQVR42g3LEbuGMACA0e8fDcMw"
                                "DIfhMJy8z51ttmxZ2bIwDIfD4XAYxrfj5y"
                                "d4BY+gCaqgCLIgCW7BJTgFUbAJgsALrODv1/F2PB2to3aUjtyROu6Oq+PsiB1bR+jwHbb7Qs/b8/"
                                "S0ntpTenJP6rl7rp6zJ/ZsPaHH99j+CwPvwD"
                                "PQBupAGcgDaeAeuAbOgTiwDYQBP2CHL4y8I89IG6kjZSSPpJF75Bo5R+LINhJG/"
                                "IgdvyB5JY+kSaqkSLIkSW7JJTklUbJJgsRLrPzCxDvxTLSJOl"
                                "Em8kSauCeuiXMiTmwTYcJP2OkLilfxKJqiKooiK5LiVlyKUxEVmyIovMKqL8y8M89Mm6kzZSbPpJ"
                                "l75po5Z+LMNhNm/Iydv6B5NY+maaqmaLImaW"
                                "7NpTk1UbNpgsZrrP6C4TU8hmaohmLIhmS4DZfhNETDZggGb7DmC47X8TiaozqKIzuS43ZcjtMRHZ"
                                "sjOLzDui8svAvPQluoC2UhL6SFe+FaOBfiwr"
                                "YQFvyCXb6w8q48K22lrpSVvJJW7pVr5VyJK9tKWPErdv3Czrvz7LSdulN28k7auXeunXMn7mw7Yc"
                                "fv2P0LB+/Bc9AO6kE5yAfp4D64Ds6DeLAdhA"
                                "N/YA/+/gHToaEQGeJO7AAAAABJRU5ErkJggg==";

std::string firstLine(std::istream &in) {
    std::string line;
    std::getline(in, line);
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return line;
}

std::string content(const std::vector<std::pair<int, std::string>> &items) {
    auto array = nlohmann::json::array();
    for (const auto &[type, value] : items)
        array.push_back({{"type", type}, {"value", value}});
    return array.dump();
}

StorageResult<StoreStatus> addPhrase(Storage &storage, std::int64_t userId, const std::string &parent,
                                     const std::string &label, const std::string &jsonValue,
                                     std::int64_t position) {
    const auto derived = ContentRules::validate(jsonValue);
    PhraseRecord r;
    r.parentSign = parent;
    r.sign = Secrets::randomHex128();
    r.label = label;
    r.jsonValue = jsonValue;
    r.texts = derived ? derived->texts : "";
    r.images = derived ? derived->images : "";
    r.position = position;
    return storage.createPhrase(userId, r);
}

// Stops at the first change the storage could not make.
StorageResult<void> fillDemo(Storage &storage, std::int64_t userId) {
    const auto bytes = Secrets::fromBase64(demoPicture).value_or("");
    const auto pictureName = Secrets::md5Hex(bytes) + ".png";
    const auto now =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    if (const auto stored = storage.storePicture(pictureName, bytes, now, userId); !stored.ok())
        return stored.error();
    const auto classes = storage.classes(userId);
    if (!classes.ok())
        return classes.error();
    const auto first = classes->front().sign;
    const auto after = Secrets::randomHex128();
    const auto billing = Secrets::randomHex128();
    const std::vector<std::function<StorageResult<StoreStatus>()>> changes = {
        [&] { return storage.createClass(userId, after, "售后服务", 1); },
        [&] { return storage.createClass(userId, billing, "付款与发票", 2); },
        [&] {
            return addPhrase(storage, userId, first, "问候",
                             content({{1, "您好，很高兴为您服务！请问有什么可以帮您？"}}), 0);
        },
        [&] {
            return addPhrase(storage, userId, first, "稍等", content({{1, "请稍等，我马上为您查询。"}}), 1);
        },
        [&] {
            return addPhrase(storage, userId, first, "结束语", content({{1, "感谢您的咨询，祝您生活愉快！"}}),
                             2);
        },
        [&] {
            return addPhrase(storage, userId, after, "退换货",
                             content({{1, "收到商品七天内可申请退换货，\n请在订单页点击“申请售后”。"}}), 0);
        },
        [&] {
            return addPhrase(
                storage, userId, after, "操作示意图",
                content({{1, "请按下图操作：\n"}, {2, pictureName}, {1, "\n如有疑问请随时联系我们。"}}), 1);
        },
        [&] {
            return addPhrase(storage, userId, billing, "开发票",
                             content({{1, "发票将在订单完成后三个工作日内开具。"}}), 0);
        },
    };
    for (const auto &change : changes)
        if (const auto made = change(); !made.ok())
            return made.error();
    return {};
}

int demoFailed(const std::string &problem) {
    ServiceLog::write("demo: " + problem, ServiceLog::Stream::Error);
    return 1;
}

} // namespace

int AdminCommands::addUser(Storage &storage, const std::string &name, std::istream &in) {
    if (const auto problem = Accounts::create(storage, name, firstLine(in), 1)) {
        ServiceLog::write("adduser: " + *problem, ServiceLog::Stream::Error);
        return 1;
    }
    ServiceLog::write("account " + name + " created");
    return 0;
}

int AdminCommands::changePassword(Storage &storage, const std::string &name, std::istream &in) {
    if (const auto problem = Accounts::setPassword(storage, name, firstLine(in), 1)) {
        ServiceLog::write("passwd: " + *problem, ServiceLog::Stream::Error);
        return 1;
    }
    ServiceLog::write("password of " + name + " changed; its sessions are ended");
    return 0;
}

int AdminCommands::demo(Storage &storage) {
    const auto key = Accounts::nameKey(demoName);
    const auto existing = storage.findUser(key);
    if (!existing.ok())
        return demoFailed(existing.error().message);
    if (!*existing) {
        if (const auto problem = Accounts::create(storage, demoName, demoPassword, 1))
            return demoFailed(*problem);
        const auto user = storage.findUser(key);
        if (!user.ok())
            return demoFailed(user.error().message);
        if (const auto filled = fillDemo(storage, (*user)->id); !filled.ok())
            return demoFailed(filled.error().message);
    } else if (PasswordHash::verify((*existing)->passwordHash, demoPassword)) {
        // Already usable: leave its sessions alone.
    } else if (const auto problem = Accounts::setPassword(storage, demoName, demoPassword, 1)) {
        return demoFailed(*problem);
    }
    ServiceLog::write(std::string("username: ") + demoName + "\npassword: " + demoPassword);
    return 0;
}
