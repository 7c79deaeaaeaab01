#include "cli/StandardStreams.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

/// The number of a stream that the caller closed would go to the next file that is opened, and what
/// is said would end up there.
void replaceClosedStreams()
{
    int nowhere = -1;
    do {
        nowhere = ::open("/dev/null", O_RDWR);
    } while (nowhere >= 0 && nowhere <= STDERR_FILENO);
    if (nowhere > STDERR_FILENO)
        ::close(nowhere);
}

} // namespace

StandardStreams::StandardStreams()
{
    replaceClosedStreams();
    std::signal(SIGPIPE, SIG_IGN); // a reader that goes away ends its stream, not the work
    std::signal(SIGXFSZ, SIG_IGN); // a file that may not grow is a failure like a full disk
    // Not inherited: a reader of our results sees their end when we end, whatever a tool does.
    const int results = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    if (results >= 0) {
        m_results.open(results, QFile::WriteOnly | QFile::Unbuffered, QFileDevice::AutoCloseHandle);
    }
    m_messages.open(STDERR_FILENO, QFile::WriteOnly | QFile::Unbuffered);
}

void StandardStreams::silenceOthers()
{
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0)
        return;
    ::dup2(nowhere, STDOUT_FILENO);
    ::close(nowhere);
}
