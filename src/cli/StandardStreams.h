#pragma once

#include <QFile>

/// The process's standard output, kept for results alone: what anybody else writes there, our
/// tools and the diagnostic console, goes to standard error. Made once, first thing in the program.
/// Streams that are closed, or whose reader goes away, take what is written without complaint.
class StandardStreams {
public:
    StandardStreams();

    QFile& results() { return m_results; }
    QFile& messages() { return m_messages; }
    /// Sends the output of everybody else nowhere.
    void silenceOthers();

private:
    QFile m_results;
    QFile m_messages;
};
