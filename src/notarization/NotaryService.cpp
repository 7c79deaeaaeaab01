#include "notarization/NotaryService.h"

#include "notarization/NotarizationError.h"
#include "notarization/NotaryCommands.h"
#include "platform/Clock.h"
#include "platform/Paths.h"
#include "process/ShellRunner.h"

#include <algorithm>
#include <span>

using namespace Qt::StringLiterals;

namespace {

constexpr int attemptLimit = 3;

// The last is the runner's own word for a shell that does not start.
constexpr QStringView failureMarks[] = {
    u"status: Invalid", u"Error:", u"Failed to launch command: "};
constexpr QStringView networkMarks[] = {u"timed out", u"network connection", u"transient"};

bool hasOneOf(std::span<const QStringView> marks, const QString& piece)
{
    return std::ranges::any_of(marks, [&](QStringView mark) { return piece.contains(mark); });
}

/// What an attempt's text tells of its end; the tool's status tells nothing.
struct Judgement {
    bool hasFailed = false;
    bool isNetworkAtFault = false;

    void read(const QString& piece)
    {
        hasFailed = hasFailed || hasOneOf(failureMarks, piece);
        isNetworkAtFault = isNetworkAtFault || hasOneOf(networkMarks, piece);
    }
};

} // namespace

NotaryService::NotaryService(ShellRunner& shell, Clock& clock)
    : m_shell(shell)
    , m_clock(clock)
{ }

NotaryService& NotaryService::shared()
{
    static auto* const instance = new NotaryService(ShellRunner::shared(), Clock::system());
    return *instance;
}

QCoro::Task<> NotaryService::submit(
    QUrl file, QString profile, Log log, CancellationHandle cancellation)
{
    return attempt(NotaryCommands::submit(pathOf(file), profile), log, cancellation);
}

QCoro::Task<> NotaryService::await(
    QString submission, QString profile, Log log, CancellationHandle cancellation)
{
    return attempt(NotaryCommands::await(submission, profile), log, cancellation);
}

QCoro::Task<> NotaryService::attempt(QString command, Log log, CancellationHandle cancellation)
{
    ShellRunner& shell = m_shell;
    Clock& clock = m_clock;
    for (int number = 1;;) {
        Judgement judgement;
        OutputSequence output = shell.runStreaming(command);
        while (const std::optional<QString> piece = co_await output.next()) {
            log(u"[notarytool] "_s + *piece);
            judgement.read(*piece);
        }
        if (!judgement.hasFailed)
            co_return;
        if (!judgement.isNetworkAtFault)
            throw NotarizationError(NotarizationError::Case::invalidStatus);
        if (++number > attemptLimit)
            throw NotarizationError(NotarizationError::Case::retryLimitExceeded);
        log(u"⚠️ Network/Timeout Error detected. Retrying (Attempt %1/%2)..."_s.arg(number).arg(
            attemptLimit));
        const std::chrono::seconds pause(1 << number);
        co_await clock.wait(pause, cancellation);
    }
}

QCoro::Task<> NotaryService::staple(QUrl item, Log log)
{
    ShellRunner& shell = m_shell;
    const QString path = pathOf(item);
    OutputSequence output = shell.runStreaming(NotaryCommands::staple(path));
    while (const std::optional<QString> piece = co_await output.next())
        log(u"[stapler] "_s + *piece);
    co_await shell.runSync(NotaryCommands::validateStaple(path));
}
