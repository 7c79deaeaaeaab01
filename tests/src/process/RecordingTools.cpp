#include "RecordingTools.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

// An answer for the second call of its kind is named REQUEST.2.
const char* const callRecorder = R"sh(#!/bin/sh
records='@RECORDS@'
name="${0##*/}"
call=$name; for argument; do call="$call <$argument>"; done
printf '%s\n' "$call" >> "$records/calls"
for last; do :; done
@REQUEST@
echo >> "$records/count.$request"
number=$(($(wc -l < "$records/count.$request")))
for answer in "$request.$number" "$request"; do
    if [ -f "$records/answers/$answer" ]; then . "$records/answers/$answer"; exit; fi
done
@ANSWER@
)sh";

void writeExecutable(const QString& path, const QByteArray& content)
{
    QFileInfo(path).dir().mkpath(u"."_s);
    QFile file(path);
    if (!file.open(QFile::WriteOnly) || file.write(content) != content.size())
        qFatal("can't write %s", qPrintable(path));
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

} // namespace

RecordingTools::RecordingTools(QString folder, QString toolbox, const QStringList& macPaths,
    const char* requestOf, const char* usualAnswer)
    : m_folder(std::move(folder))
    , m_toolbox(std::move(toolbox))
{
    QDir().mkpath(m_folder);
    const QByteArray text = QByteArray(callRecorder)
                                .replace("@REQUEST@", requestOf)
                                .replace("@ANSWER@", usualAnswer)
                                .replace("@RECORDS@", QFile::encodeName(m_folder));
    for (const QString& macPath : macPaths)
        writeExecutable(m_toolbox + macPath, text);
}

void RecordingTools::answer(const QString& request, const QString& text) const
{
    writeExecutable(m_folder + u"/answers/"_s + request, text.toUtf8());
}

void RecordingTools::remove(const QString& macPath) const
{
    QFile::remove(m_toolbox + macPath);
}

QStringList RecordingTools::calls() const
{
    QFile file(m_folder + u"/calls"_s);
    if (!file.open(QFile::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
}
