#include "cli/SignatureFacts.h"

#include "cli/ToolSession.h"
#include "signing/CodesignCommands.h"

using namespace Qt::StringLiterals;

namespace {

/// What follows the first `label` that begins a line.
QString valueIn(const QString& report, const QString& label)
{
    for (const QString& line : report.split(u'\n')) {
        if (line.startsWith(label))
            return line.sliced(label.size());
    }
    return {};
}

QCoro::Task<int> ask(ShellRunner& shell, QString path, SignatureFacts& facts)
{
    try {
        co_await shell.runSync(CodesignCommands::verify(path));
        const QString report = co_await shell.runSync(CodesignCommands::inspect(path));
        facts = {valueIn(report, u"CDHash="_s), valueIn(report, u"Authority="_s)};
    } catch (const ShellError&) {
        // Nothing to be told, then.
    }
    co_return ExitStatus::done;
}

} // namespace

SignatureFacts signatureFacts(const QString& path, const CommandHost& host)
{
    SignatureFacts facts;
    ToolSession session(host);
    session.exec([&] { return ask(session.shell(), path, facts); });
    if (session.isInterrupted())
        throw Interrupted();
    return facts;
}
