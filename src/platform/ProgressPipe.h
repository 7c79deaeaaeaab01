#pragma once

#include "platform/Descriptor.h"

#include <QByteArray>
#include <QObject>

#include <functional>

class QProcess;

/// A way, beside its standard streams, for a tool of ours to tell how far it is: lines
/// "PERCENT:12.345000" into the descriptor that VANDOR_PROGRESS_FD names. Other tools don't know
/// of it and tell nothing.
class ProgressPipe : public QObject {
    Q_OBJECT
public:
    /// `receive` gets shares from 0 to 1 on the main thread.
    ProgressPipe(std::function<void(double share)> receive, QObject* parent);

    /// Lets the process, which is not started yet, have the pipe's other end.
    void giveTo(QProcess& process);
    /// Once it is started: only the process has that end now.
    void closeOtherEnd() { m_writing = Descriptor(); }

private:
    void takeLines();

    std::function<void(double)> m_receive;
    Descriptor m_reading;
    Descriptor m_writing;
    QByteArray m_line; // as far as it has come
};
