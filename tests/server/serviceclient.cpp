#include "serviceclient.h"

#include "security/rc4cipher.h"
#include "security/secrets.h"

ServiceClient::ServiceClient(const std::string &baseUrl)
    : client_(std::make_unique<httplib::Client>(baseUrl)) {
    client_->enable_server_certificate_verification(false);
    client_->set_read_timeout(60);
}

std::string ServiceClient::cipherPassword(const std::string &password) {
    return Secrets::toBase64(Rc4Cipher::apply(password, Rc4Cipher::passwordKey()));
}

ServiceClient::Reply ServiceClient::toReply(const httplib::Result &result) {
    Reply reply;
    if (!result)
        return reply;
    reply.status = result->status;
    reply.json = nlohmann::json::parse(result->body, nullptr, false);
    reply.setCookie = result->get_header_value("Set-Cookie");
    return reply;
}

ServiceClient::Reply ServiceClient::post(const std::string &path, httplib::Params params) {
    params.erase("username");
    params.emplace("username", username);
    httplib::Headers headers;
    if (!cookie.empty())
        headers.emplace("Cookie", cookie);
    return toReply(client_->Post(path, headers, params));
}

ServiceClient::Reply ServiceClient::library(const std::string &path, httplib::Params params) {
    if (!params.count("dbname"))
        params.emplace("dbname", username);
    return post(path, std::move(params));
}

ServiceClient::Reply ServiceClient::postForm(const std::string &path, const httplib::Params &params) {
    return toReply(client_->Post(path, params));
}

ServiceClient::Reply ServiceClient::upload(const std::string &dbname, const std::string &filename,
                                           const std::string &bytes) {
    httplib::MultipartFormDataItems items = {
        {"dbname", dbname, "", ""}, {"filename", filename, "", ""}, {"file", bytes, filename, "image/png"}};
    httplib::Headers headers;
    if (!cookie.empty())
        headers.emplace("Cookie", cookie);
    return toReply(client_->Post("/api/word/image/uploadImage", headers, items));
}

ServiceClient::Reply ServiceClient::get(const std::string &path) {
    return toReply(client_->Get(path));
}

ServiceClient::Reply ServiceClient::login(const std::string &name, const std::string &password) {
    auto reply = post("/api/osx/login", {{"usernames", name}, {"password", cipherPassword(password)}});
    if (reply.json.is_object() && reply.json.value("state", 0) == 1) {
        // The client keeps attributes as cookies and a blank in front of every later name.
        std::string echoed;
        std::size_t start = 0;
        const auto &sc = reply.setCookie;
        while (start < sc.size()) {
            auto end = sc.find(';', start);
            if (end == std::string::npos)
                end = sc.size();
            const auto piece = sc.substr(start, end - start);
            if (piece.find('=') != std::string::npos)
                echoed += piece + ";";
            start = end + 1;
        }
        cookie = echoed;
        username = reply.json.value("username", "");
    }
    return reply;
}
