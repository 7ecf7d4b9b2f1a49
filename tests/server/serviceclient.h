#pragma once

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <QTest>

#include <memory>
#include <string>

#define EXPECT_OK(reply)                                                                                     \
    do {                                                                                                     \
        const auto r_ = (reply);                                                                             \
        QVERIFY2(r_.state() == 1 && r_.json.value("msg", std::string("x")).empty(), r_.describe().c_str());  \
    } while (0)

#define EXPECT_REFUSED(reply, text)                                                                          \
    do {                                                                                                     \
        const auto r_ = (reply);                                                                             \
        QVERIFY2(r_.state() == 0, r_.describe().c_str());                                                    \
        QCOMPARE(QString::fromStdString(r_.msg()), QString::fromUtf8(text));                                 \
    } while (0)

// A signed-in (or anonymous) caller of a running quillora-cloud, speaking the desktop client's
// protocol: form posts carrying "username" and the cookie text echoed back as the client does.
class ServiceClient {
public:
    struct Reply {
        int status = 0;
        nlohmann::json json;
        std::string setCookie;

        // -99 when the reply is no envelope.
        int state() const { return json.is_object() ? json.value("state", -99) : -99; }
        std::string msg() const {
            return json.is_object() ? json.value("msg", std::string("<none>")) : "<not json>";
        }
        std::string describe() const { return std::to_string(status) + " " + json.dump(); }
    };

    explicit ServiceClient(const std::string &baseUrl);

    // Posts the form; an empty body or non-JSON leaves json discarded.
    Reply post(const std::string &path, httplib::Params params);
    // A post naming the client's own library ("dbname") unless the params name one.
    Reply library(const std::string &path, httplib::Params params);
    // A plain form post, as a web page sends it.
    Reply postForm(const std::string &path, const httplib::Params &params);
    Reply upload(const std::string &dbname, const std::string &filename, const std::string &bytes);
    Reply get(const std::string &path);
    // Signs in with the client's cipher; keeps the cookie on success.
    Reply login(const std::string &name, const std::string &password);

    // The cookie header text as the desktop client would build it from the last Set-Cookie.
    std::string cookie;
    std::string username = "123";

    static std::string cipherPassword(const std::string &password);

private:
    Reply toReply(const httplib::Result &result);
    std::unique_ptr<httplib::Client> client_;
};
