#include "cli/InnerCommand.h"

#include <QJsonDocument>

#include <utility>

using namespace Qt::StringLiterals;

InnerCommand::InnerCommand(Listener listener)
    : m_listener(std::move(listener))
{
    open(QIODevice::WriteOnly | QIODevice::Unbuffered);
}

int InnerCommand::run(const CommandHost& host, const Listener& listener,
    const std::function<int(const CommandHost&)>& command)
{
    InnerCommand results(listener);
    const CommandHost inner{host.rootForSession, host.defaults, host.settings, host.clock,
        host.temporaryFolder, results, host.messages, host.silenceTools, host.rootOfUser,
        host.readSecret};
    return command(inner);
}

qint64 InnerCommand::writeData(const char* data, qint64 size)
{
    m_line.append(data, size);
    for (qsizetype end = m_line.indexOf('\n'); end >= 0; end = m_line.indexOf('\n')) {
        QJsonObject event = QJsonDocument::fromJson(m_line.first(end)).object();
        m_line.remove(0, end + 1);
        event.remove(u"schema"_s);
        if (!event.isEmpty())
            m_listener(event);
    }
    return size;
}
