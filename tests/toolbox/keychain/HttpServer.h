#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

/// Answers HTTP requests on this host until it is destroyed, one at a time, each with what a
/// function says.
class HttpServer {
public:
    struct Request {
        std::string head;
        std::vector<std::byte> body;
    };
    using Answer = std::function<std::vector<std::byte>(const Request&)>;

    /// The whole reply with its head; "" closes the connection without one.
    using RawAnswer = std::function<std::string(const Request&)>;

    explicit HttpServer(RawAnswer answer);
    /// Always succeeds, with what `answer` gives as the body.
    explicit HttpServer(Answer answer);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    std::string url(const std::string& path) const;

private:
    void serve() const;
    void serveOne(int connection) const;

    RawAnswer m_answer;
    int m_listener = -1;
    int m_port = 0;
    std::thread m_thread;
};
