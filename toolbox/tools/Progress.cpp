#include "tools/Progress.h"

#include "tools/Text.h"

#include <ostream>

namespace tools {

namespace {

constexpr unsigned dotsInAll = 70; // about the width of a terminal
constexpr std::chrono::seconds patience{2};

} // namespace

Progress::Progress(std::ostream& out, Form form, Now now)
    : m_out(out)
    , m_form(form)
    , m_now(now)
    , m_start(now())
{ }

void Progress::operator()(uint64_t done, uint64_t inAll)
{
    if (inAll == 0 || done > inAll)
        return;
    const double share = static_cast<double>(done) / static_cast<double>(inAll);
    if (m_form == Form::percents) {
        const int thousandths = static_cast<int>(1000 * share);
        if (thousandths <= m_percent)
            return;
        m_percent = thousandths;
        m_out << "PERCENT:" << decimal(100 * share, 6) << '\n' << std::flush;
        return;
    }
    if (m_now() - m_start < patience)
        return;
    const auto wanted = static_cast<unsigned>(dotsInAll * share);
    for (; m_dots < wanted; ++m_dots)
        m_out << '.';
    m_out << std::flush;
}

void Progress::pause()
{
    if (m_form != Form::dots || m_dots == 0)
        return;
    m_out << '\n' << std::flush;
    m_dots = 0;
}

} // namespace tools
