#include "process/ShellRunner.h"

#include "platform/HostToolRunner.h"
#include "platform/Utf8.h"

#include <array>
#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

ToolCall shellCall(const QString& command)
{
    ToolCall call;
    call.program = u"/bin/zsh"_s;
    call.arguments = {u"-c"_s, command};
    call.environment = {{u"PATH"_s, u"/usr/bin:/bin:/usr/sbin:/sbin:/usr/local/bin"_s}};
    call.inheritInput = true;
    call.captureOutput = true;
    call.captureError = true;
    return call;
}

/// Turns the bytes of both streams into pieces of text. How the system cuts a stream into reads is
/// an accident: a character that one read begins waits for the next.
class PieceDecoder {
public:
    explicit PieceDecoder(std::weak_ptr<OutputSequence::Pieces> pieces)
        : m_pieces(std::move(pieces))
    { }

    void receive(ToolStream stream, const QByteArray& bytes)
    {
        const std::shared_ptr<OutputSequence::Pieces> pieces = m_pieces.lock();
        if (!pieces)
            return; // nobody reads any more
        QByteArray& unfinished = m_unfinished[stream == ToolStream::error ? 1 : 0];
        const QByteArray all = unfinished + bytes;
        const qsizetype whole = all.size() - unfinishedUtf8Tail(all);
        unfinished = all.sliced(whole);
        const std::optional<QString> text = textFromUtf8(all.first(whole));
        if (text && !text->isEmpty())
            pieces->add(stream == ToolStream::error ? u"[ERR] "_s + *text : *text);
    }

private:
    std::weak_ptr<OutputSequence::Pieces> m_pieces;
    std::array<QByteArray, 2> m_unfinished;
};

QCoro::Task<> follow(QCoro::Task<ToolOutcome> run, std::weak_ptr<OutputSequence::Pieces> read)
{
    const ToolOutcome outcome = co_await run;
    const std::shared_ptr<OutputSequence::Pieces> pieces = read.lock();
    if (!pieces)
        co_return;
    if (outcome.launchError)
        pieces->add(u"Failed to launch command: "_s + *outcome.launchError);
    pieces->end();
}

} // namespace

ShellRunner::ShellRunner(ToolRunner& tools)
    : m_tools(tools)
{ }

ShellRunner& ShellRunner::shared()
{
    static auto* const tools = new HostToolRunner(SystemRoot::host());
    static auto* const instance = new ShellRunner(*tools);
    return *instance;
}

QCoro::Task<QString> ShellRunner::runSync(QString command)
{
    const ToolCall call = shellCall(command);
    const ToolOutcome outcome = co_await m_tools.run(call);
    if (outcome.launchError)
        throw ShellError::executionFailed(*outcome.launchError);
    const QString output = textFromUtf8(outcome.output).value_or(QString());
    if (outcome.exitStatus == 0)
        co_return output.trimmed();
    const QString separator = output.isEmpty() ? QString() : u"\n"_s;
    const QString error = textFromUtf8(outcome.error).value_or(QString());
    throw ShellError::commandFailed(outcome.exitStatus, output + separator + error);
}

OutputSequence ShellRunner::runStreaming(
    const QString& command, const std::optional<QString>& folder)
{
    OutputSequence sequence;
    ToolCall call = shellCall(command);
    call.workingDirectory = folder.value_or(QString());
    const auto decoder = std::make_shared<PieceDecoder>(sequence.pieces());
    call.receive = [decoder](ToolStream stream, const QByteArray& bytes) {
        decoder->receive(stream, bytes);
    };
    follow(m_tools.run(call), sequence.pieces());
    return sequence;
}
