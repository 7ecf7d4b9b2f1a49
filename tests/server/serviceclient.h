#pragma once

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <memory>
#include <string>

// A signed-in (or anonymous) caller of a running quillora-cloud, speaking the desktop client's
// protocol: form posts carrying "username" and the cookie text echoed back as the client does.
class ServiceClient {
public:
    struct Reply {
        int status = 0;
        nlohmann::json json;
        std::string setCookie;
    };

    explicit ServiceClient(const std::string &baseUrl);

    // Posts the form; an empty body or non-JSON leaves json discarded.
    Reply post(const std::string &path, httplib::Params params);
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
