#pragma once

#include <chrono>
#include <cstdint>
#include <iosfwd>

namespace tools {

/// Shows how far a job is as hdiutil does: a line of dots once the job has taken a while, or, for a
/// program that asked for it, "PERCENT:12.345000" lines. Such lines also go to the pipe that the
/// environment names in VANDOR_PROGRESS_FD. Knows nothing of threads.
class Progress {
public:
    enum class Form { dots, percents };
    using Now = std::chrono::steady_clock::time_point (*)();

    Progress(std::ostream& out, Form form, Now now = &std::chrono::steady_clock::now);
    /// Ends a line of dots.
    ~Progress() { pause(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void operator()(uint64_t done, uint64_t inAll);
    /// Ends the line of dots, if there is one, because something else is printed now.
    void pause();

private:
    void tell(double share);

    std::ostream& m_out;
    Form m_form;
    Now m_now;
    std::chrono::steady_clock::time_point m_start;
    unsigned m_dots = 0; // on the line
    int m_pipe; // -1 for none
    int m_told = -1; // thousandths of the whole
};

} // namespace tools
