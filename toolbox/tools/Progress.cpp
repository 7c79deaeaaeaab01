#include "tools/Progress.h"

#include "tools/Text.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace tools {

namespace {

constexpr unsigned dotsInAll = 70; // about the width of a terminal
constexpr std::chrono::seconds patience{2};

/// What else such a number may stand for in an inherited environment is left alone.
int pipeOfAsker()
{
    const char* name = std::getenv("VANDOR_PROGRESS_FD");
    int descriptor = -1;
    if (name == nullptr
        || std::from_chars(name, name + std::strlen(name), descriptor).ec != std::errc{})
        return -1;
    struct stat status { };
    const bool isPipe = ::fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode);
    return isPipe && descriptor > STDERR_FILENO ? descriptor : -1;
}

} // namespace

Progress::Progress(std::ostream& out, Form form, Now now)
    : m_out(out)
    , m_form(form)
    , m_now(now)
    , m_start(now())
    , m_pipe(pipeOfAsker())
{ }

void Progress::operator()(uint64_t done, uint64_t inAll)
{
    if (inAll == 0 || done > inAll)
        return;
    const double share = static_cast<double>(done) / static_cast<double>(inAll);
    tell(share);
    if (m_form == Form::percents)
        return;
    if (m_now() - m_start < patience)
        return;
    const auto wanted = static_cast<unsigned>(dotsInAll * share);
    for (; m_dots < wanted; ++m_dots)
        m_out << '.';
    m_out << std::flush;
}

void Progress::tell(double share)
{
    const int thousandths = static_cast<int>(1000 * share);
    if (thousandths <= m_told)
        return;
    m_told = thousandths;
    const std::string line = "PERCENT:" + decimal(100 * share, 6) + '\n';
    if (m_form == Form::percents)
        m_out << line << std::flush;
    // A full or closed pipe loses a line, not the job.
    if (m_pipe >= 0 && ::write(m_pipe, line.data(), line.size()) < 0 && errno == EPIPE)
        m_pipe = -1;
}

void Progress::pause()
{
    if (m_form != Form::dots || m_dots == 0)
        return;
    m_out << '\n' << std::flush;
    m_dots = 0;
}

} // namespace tools
