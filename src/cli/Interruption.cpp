#include "cli/Interruption.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::array watched{SIGINT, SIGTERM, SIGHUP};

// A handler may do next to nothing but write; the main loop reads the other end.
std::array<int, 2> pipeEnds{-1, -1};
std::array<struct sigaction, watched.size()> previous{};
volatile std::sig_atomic_t hasCome = 0;
std::vector<Interruption*> living; // the outermost first

void passOn(int)
{
    const int savedError = errno;
    hasCome = 1;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = ::write(pipeEnds[1], &byte, 1);
    errno = savedError;
}

} // namespace

Interruption::Interruption()
{
    living.push_back(this);
    if (living.size() > 1) {
        if (hasCome != 0)
            QMetaObject::invokeMethod(this, &Interruption::requested, Qt::QueuedConnection);
        return;
    }
    hasCome = 0;
    if (::pipe2(pipeEnds.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return; // the signals keep their usual meaning
    auto* const notifier = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [] {
        std::array<char, 16> bytes{};
        while (::read(pipeEnds[0], bytes.data(), bytes.size()) > 0) { }
        for (Interruption* const each : std::vector(living))
            emit each->requested();
    });

    struct sigaction action { };
    action.sa_handler = &passOn;
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < watched.size(); ++i) {
        ::sigaction(watched[i], nullptr, &previous[i]);
        if (previous[i].sa_handler != SIG_IGN)
            ::sigaction(watched[i], &action, nullptr);
    }
}

bool Interruption::isRequested() const
{
    return hasCome != 0;
}

Interruption::~Interruption()
{
    std::erase(living, this);
    if (!living.empty() || pipeEnds[0] < 0)
        return;
    for (std::size_t i = 0; i < watched.size(); ++i)
        ::sigaction(watched[i], &previous[i], nullptr);
    ::close(pipeEnds[0]);
    ::close(pipeEnds[1]);
    pipeEnds = {-1, -1};
}
