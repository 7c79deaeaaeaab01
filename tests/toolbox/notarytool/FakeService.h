#pragma once

#include "../keychain/HttpServer.h"
#include "../tools/ToolRun.h"
#include "HandClock.h"
#include "keychain/PrivateKey.h"
#include "tools/NotaryHost.h"

#include <deque>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>

/// Plays the notary service and its storage on this host, with faults by the script of a test.
class FakeService {
public:
    /// What it is asked, in the words of the scripts.
    enum class Call { create, upload, status, history, logs, log };
    /// What it does once in place of the right answer. A number is an answer with that status.
    struct Fault {
        int status = 0; // 0 drops the connection
        std::string body{};
        std::string headers{}; // lines
    };
    struct Request {
        Call call{};
        std::string head;
        std::string body;
    };

    static constexpr const char* id = "2efe2717-52ef-43a5-96dc-0797e4ca1041";
    static constexpr const char* createdDate = "2023-11-14T22:13:20.498Z"; // by the test's clock
    static constexpr const char* accessKeyId = "ASIAEXAMPLE";
    static constexpr const char* secretKey = "upload-secret";
    static constexpr const char* sessionToken = "upload-token";

    FakeService();

    std::string url() const { return m_server.url(""); }
    /// Of a new P-256 key; the service believes its tokens only.
    const std::string& keyPem() const { return m_keyPem; }

    // The script; set before the service is asked.
    std::map<Call, std::deque<Fault>> faults;
    std::deque<std::string> statuses{"In Progress", "Accepted"}; // the last one stays
    std::string logText = R"({"logFormatVersion":1,"status":"Accepted","issues":null})";

    std::vector<Request> requests() const;
    int count(Call call) const;
    const std::string& uploaded() const { return m_uploaded; }

private:
    std::string answer(const HttpServer::Request& raw);
    std::string rightAnswer(const Request& request);
    std::string statusAnswer();

    keychain::PrivateKey m_key;
    std::string m_keyPem;
    mutable std::mutex m_mutex;
    std::vector<Request> m_requests;
    std::string m_uploaded;
    HttpServer m_server; // the last: it uses all others
};

std::string httpReply(int status, const std::string& body, const std::string& headers = {});
std::string headerIn(const std::string& head, const std::string& name);
std::vector<std::byte> fromBase64Url(const std::string& text);
/// Whether a token is signed by `key`.
bool isSignedBy(const keychain::PrivateKey& key, const std::string& token);

/// A folder, a clock, a service and a profile "P" for it, and notarytool run with them.
class NotaryTest {
public:
    NotaryTest();

    /// With the profile's name behind the arguments.
    Outcome run(std::vector<std::string> arguments);
    Outcome runBare(const std::vector<std::string>& arguments);
    std::string path(const std::string& name) const { return m_tool.path(name); }
    /// A file that looks like an archive.
    std::string archive() const { return path("App.zip"); }

    FakeService service;
    HandClock clock;
    notary::HttpClient client;

private:
    ToolTest m_tool;
};
