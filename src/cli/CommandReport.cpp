#include "cli/CommandReport.h"

#include <QIODevice>
#include <QJsonDocument>
#include <QJsonObject>

#include <utility>

using namespace Qt::StringLiterals;

CommandReport::CommandReport(QIODevice& results, QIODevice& messages, Form form)
    : m_results(results)
    , m_messages(messages)
    , m_form(std::move(form))
{ }

void CommandReport::misused(const QString& message)
{
    say(u"vandor %1: %2\nRun “vandor %1 --help” for more."_s.arg(m_form.command, message));
    misusedEvent(message);
}

void CommandReport::misusedEvent(const QString& message)
{
    event(u"result"_s, {{u"status"_s, u"misused"_s}, {u"message"_s, message}});
}

void CommandReport::progress(const QString& message)
{
    if (m_form.quiet)
        return;
    say(message);
    event(u"progress"_s, {{u"message"_s, message}});
}

void CommandReport::item(const QString& name, const QString& line, const QJsonObject& fields)
{
    if (!m_form.json)
        m_results.write(line.toUtf8() + '\n');
    event(name, fields);
}

void CommandReport::finished(const QString& line, QJsonObject fields)
{
    end(line, fields, u"success"_s);
}

void CommandReport::objected(const QString& line, QJsonObject fields)
{
    end(line, fields, u"failed"_s);
}

void CommandReport::end(const QString& line, QJsonObject& fields, const QString& status)
{
    if (!m_form.json && !line.isEmpty())
        m_results.write(line.toUtf8() + '\n');
    fields[u"status"_s] = status;
    event(u"result"_s, fields);
}

void CommandReport::failed(const CommandFailure& failure)
{
    const QString said = failure.said.trimmed();
    QString text = u"vandor: %1: %2 failed.\n"_s.arg(failure.what, failure.step);
    if (!failure.tool.isEmpty())
        text += u"  Tool: "_s + failure.tool + u'\n';
    say(text + u"  Said: "_s + said + u"\n  Help: "_s + failure.remedy);
    const QJsonValue tool = failure.tool.isEmpty() ? QJsonValue() : QJsonValue(failure.tool);
    event(u"result"_s,
        {{u"status"_s, u"failed"_s}, {u"step"_s, failure.step}, {u"tool"_s, tool},
            {u"said"_s, said}, {u"remedy"_s, failure.remedy}});
}

void CommandReport::interrupted(const QString& state)
{
    say(u"vandor: interrupted; "_s + state);
    event(u"result"_s, {{u"status"_s, u"interrupted"_s}});
}

void CommandReport::event(const QString& name, QJsonObject fields)
{
    if (!m_form.json)
        return;
    fields[u"schema"_s] =
        m_form.command.isEmpty() ? u"vandor/1"_s : u"vandor.%1/1"_s.arg(m_form.command);
    fields[u"event"_s] = name;
    m_results.write(QJsonDocument(fields).toJson(QJsonDocument::Compact) + '\n');
}

void CommandReport::say(const QString& text)
{
    m_messages.write(text.toUtf8() + '\n');
}
