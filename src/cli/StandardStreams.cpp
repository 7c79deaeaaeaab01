#include "cli/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

StandardStreams::StandardStreams()
{
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
