#include "cli/BuildReport.h"

#include <QIODevice>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>

#include <cmath>

using namespace Qt::StringLiterals;

BuildReport::BuildReport(QIODevice& results, QIODevice& messages, Form form)
    : m_results(results)
    , m_messages(messages)
    , m_form(form)
{ }

void BuildReport::misused(const QString& message)
{
    say(u"vandor build: "_s + message + u"\nRun “vandor build --help” for more."_s);
    event(u"result"_s, {{u"status"_s, u"misused"_s}, {u"message"_s, message}});
}

void BuildReport::progress(const QString& message)
{
    if (m_form.quiet)
        return;
    say(message);
    event(u"progress"_s, {{u"message"_s, message}});
}

void BuildReport::warning(const QString& message)
{
    if (m_form.quiet)
        return;
    say(u"vandor build: warning: "_s + message);
    event(u"warning"_s, {{u"message"_s, message}});
}

void BuildReport::finished(const FinishedBuild& build)
{
    if (!m_form.quiet) {
        say(u"Built %1: %2 in %3 seconds"_s.arg(build.path,
            QLocale::c().formattedDataSize(build.bytes, 1, QLocale::DataSizeSIFormat),
            QString::number(build.seconds, 'f', 1)));
    }
    if (!m_form.json)
        m_results.write(build.path.toUtf8() + '\n');
    event(u"result"_s,
        {{u"status"_s, u"success"_s}, {u"path"_s, build.path}, {u"bytes"_s, build.bytes},
            {u"seconds"_s, std::round(build.seconds * 1000) / 1000},
            {u"volumeName"_s, build.volumeName}, {u"format"_s, build.format}});
}

void BuildReport::failed(const FailedBuild& build)
{
    say(u"vandor: the image was not built: %1 failed.\n"_s.arg(build.step)
        + (build.tool.isEmpty() ? QString() : u"  Tool: %1\n"_s.arg(build.tool))
        + u"  Said: %1\n  Help: %2"_s.arg(build.said.trimmed(), build.remedy));
    const QJsonValue tool = build.tool.isEmpty() ? QJsonValue() : QJsonValue(build.tool);
    event(u"result"_s,
        {{u"status"_s, u"failed"_s}, {u"step"_s, build.step}, {u"tool"_s, tool},
            {u"said"_s, build.said.trimmed()}, {u"remedy"_s, build.remedy}});
}

void BuildReport::interrupted()
{
    say(u"vandor: interrupted; the output is as it was."_s);
    event(u"result"_s, {{u"status"_s, u"interrupted"_s}});
}

void BuildReport::event(const QString& name, QJsonObject fields)
{
    if (!m_form.json)
        return;
    fields[u"schema"_s] = u"vandor.build/1"_s;
    fields[u"event"_s] = name;
    m_results.write(QJsonDocument(fields).toJson(QJsonDocument::Compact) + '\n');
}

void BuildReport::say(const QString& text)
{
    m_messages.write(text.toUtf8() + '\n');
}
