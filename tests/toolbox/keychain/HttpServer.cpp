#include "HttpServer.h"

#include <netinet/in.h>
#include <span>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace {

std::string successWith(const std::vector<std::byte>& body)
{
    std::string reply = "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: "
        + std::to_string(body.size()) + "\r\n\r\n";
    return reply.append(reinterpret_cast<const char*>(body.data()), body.size());
}

} // namespace

HttpServer::HttpServer(Answer answer)
    : HttpServer(
        RawAnswer([answer](const Request& request) { return successWith(answer(request)); }))
{ }

HttpServer::HttpServer(RawAnswer answer)
    : m_answer(std::move(answer))
    , m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* general = reinterpret_cast<sockaddr*>(&address);
    if (::bind(m_listener, general, length) != 0 || ::listen(m_listener, 4) != 0
        || ::getsockname(m_listener, general, &length) != 0)
        throw std::runtime_error("no server");
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { serve(); });
}

HttpServer::~HttpServer()
{
    ::shutdown(m_listener, SHUT_RDWR); // ends the wait in accept
    m_thread.join();
    ::close(m_listener);
}

std::string HttpServer::url(const std::string& path) const
{
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

void HttpServer::serve() const
{
    for (;;) {
        const int connection = ::accept(m_listener, nullptr, nullptr);
        if (connection < 0)
            return;
        serveOne(connection);
        ::close(connection);
    }
}

void HttpServer::serveOne(int connection) const
{
    std::string received;
    std::size_t bodyStart = 0;
    std::size_t bodySize = 0;
    while (bodyStart == 0 || received.size() - bodyStart < bodySize) {
        char piece[4096];
        const ssize_t count = ::read(connection, piece, sizeof piece);
        if (count <= 0)
            return;
        received.append(piece, static_cast<std::size_t>(count));
        const std::size_t end = received.find("\r\n\r\n");
        if (bodyStart != 0 || end == std::string::npos)
            continue;
        bodyStart = end + 4;
        const std::size_t field = received.find("Content-Length: ");
        if (field < end)
            bodySize = std::stoul(received.substr(field + 16));
    }
    Request request{received.substr(0, bodyStart), {}};
    const auto body = std::as_bytes(std::span(received).subspan(bodyStart));
    request.body.assign(body.begin(), body.end());
    const std::string reply = m_answer(request);
    for (std::size_t sent = 0; sent < reply.size();) {
        const ssize_t count =
            ::send(connection, reply.data() + sent, reply.size() - sent, MSG_NOSIGNAL);
        if (count <= 0)
            return;
        sent += static_cast<std::size_t>(count);
    }
}
