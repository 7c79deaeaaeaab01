#include "platform/ChildProcess.h"

#include "platform/PlatformError.h"
#include "platform/ProgressPipe.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

QProcess::ProcessChannelMode channelMode(const ToolCall& call)
{
    if (call.mergeError)
        return QProcess::MergedChannels;
    if (call.captureOutput || call.hideOutput)
        return call.captureError ? QProcess::SeparateChannels : QProcess::ForwardedErrorChannel;
    return call.captureError ? QProcess::ForwardedOutputChannel : QProcess::ForwardedChannels;
}

QProcessEnvironment environmentOf(const ToolCall& call, const SystemRoot& root)
{
    QProcessEnvironment environment = root.childEnvironment();
    for (auto entry = call.environment.cbegin(); entry != call.environment.cend(); ++entry)
        environment.insert(entry.key(), entry.value());
    return environment;
}

/// The error number with which starting the program must fail, 0 if nothing speaks against it.
int obstacleTo(const QByteArray& program)
{
    struct stat status { };
    if (::stat(program.constData(), &status) != 0)
        return errno;
    if (!S_ISREG(status.st_mode))
        return EACCES;
    return ::access(program.constData(), X_OK) == 0 ? 0 : errno;
}

/// `ancestor` and all processes that descend from it now, where the host tells.
std::vector<pid_t> familyOf(pid_t ancestor)
{
    std::vector<pid_t> family{ancestor};
    for (std::size_t i = 0; i < family.size(); ++i) {
        QFile children(QStringLiteral("/proc/%1/task/%1/children").arg(family[i]));
        if (!children.open(QFile::ReadOnly))
            continue;
        for (const QByteArray& number : children.readAll().simplified().split(' ')) {
            if (const pid_t process = number.toInt(); process > 0)
                family.push_back(process);
        }
    }
    return family;
}

} // namespace

ChildProcess::ChildProcess(const ToolCall& call, const SystemRoot& root)
    : m_call(call)
{
    m_process.setProgram(root.toolPath(call.program));
    m_process.setArguments(call.arguments);
    m_process.setProcessEnvironment(environmentOf(call, root));
    m_process.setProcessChannelMode(channelMode(call));
    if (call.hideOutput && !call.captureOutput)
        m_process.setStandardOutputFile(QProcess::nullDevice());
    if (!call.workingDirectory.isEmpty())
        m_process.setWorkingDirectory(root.hostPath(call.workingDirectory));
    if (call.progress) {
        m_progress = new ProgressPipe(call.progress, this);
        m_progress->giveTo(m_process);
    }
    if (call.inheritInput)
        m_process.setInputChannelMode(QProcess::ForwardedInputChannel);
    else if (call.input.isEmpty())
        m_process.setStandardInputFile(QProcess::nullDevice());
}

QFuture<ToolOutcome> ChildProcess::start()
{
    m_promise.start();
    const QFuture<ToolOutcome> outcome = m_promise.future();
    connect(&m_process, &QProcess::errorOccurred, this, &ChildProcess::reportFailedStart);
    connect(&m_process, &QProcess::finished, this, &ChildProcess::reportEnd);
    if (m_call.receive)
        connectReceiver();
    m_process.start();
    if (m_progress != nullptr)
        m_progress->closeOtherEnd();
    if (!m_call.inheritInput && !m_call.input.isEmpty()
        && m_process.state() != QProcess::NotRunning) {
        m_process.write(m_call.input);
        m_process.closeWriteChannel();
    }
    return outcome;
}

void ChildProcess::connectReceiver()
{
    connect(&m_process, &QProcess::readyReadStandardOutput, this,
        [this] { passOn(ToolStream::output, m_process.readAllStandardOutput()); });
    connect(&m_process, &QProcess::readyReadStandardError, this,
        [this] { passOn(ToolStream::error, m_process.readAllStandardError()); });
}

void ChildProcess::passOn(ToolStream stream, const QByteArray& piece)
{
    if (!piece.isEmpty())
        m_call.receive(stream, piece);
}

void ChildProcess::interrupt()
{
    if (m_process.processId() <= 0 || m_call.evenWhenInterrupted)
        return;
    // A shell doesn't pass the signal on to the tool that it waits for.
    for (const pid_t process : familyOf(static_cast<pid_t>(m_process.processId())))
        ::kill(process, SIGINT);
}

/// Every other error (a tool that doesn't read its input, one that a signal killed) is followed by
/// the end of the process.
void ChildProcess::reportFailedStart(QProcess::ProcessError error)
{
    if (error != QProcess::FailedToStart)
        return;
    ToolOutcome outcome;
    outcome.launchError = launchError();
    report(std::move(outcome));
}

void ChildProcess::reportEnd()
{
    ToolOutcome outcome;
    outcome.exitStatus = m_process.exitCode(); // a signal's number after a crash
    if (m_process.exitStatus() == QProcess::CrashExit && outcome.exitStatus == 0)
        outcome.exitStatus = SIGKILL;
    if (m_call.captureOutput)
        outcome.output = m_process.readAllStandardOutput();
    if (m_call.captureError)
        outcome.error = m_process.readAllStandardError();
    report(std::move(outcome));
}

void ChildProcess::report(ToolOutcome outcome)
{
    if (std::exchange(m_reported, true))
        return;
    m_promise.addResult(std::move(outcome));
    m_promise.finish();
    deleteLater(); // not now: this runs inside a signal of the process
}

QString ChildProcess::launchError() const
{
    constexpr auto operation = PlatformError::Operation::start;
    if (const int error = obstacleTo(QFile::encodeName(m_process.program())))
        return PlatformError::fromErrno(operation, m_call.program, error).description();
    return PlatformError(operation, m_call.program, m_process.errorString()).description();
}
