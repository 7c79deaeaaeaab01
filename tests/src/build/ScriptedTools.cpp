#include "ScriptedTools.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

// Records "PROGRAM<US>ARGUMENT<US>..." as one line and then answers: by a text for the verb, by one
// for the tool, or as below.
const char* const recorder = R"sh(#!/bin/sh
records="@RECORDS@"
line="@PATH@"
for argument; do line="$line$(printf '\037')$argument"; done
printf '%s\n' "$line" >> "$records/calls"
for last; do :; done
name="${0##*/}"
for answer in "$records/answers/$name.$1" "$records/answers/$name"; do
    if [ -f "$answer" ]; then . "$answer"; exit; fi
done
case "$name.$1" in
hdiutil.create) printf 'image of %s' "$3" > "$last" ;;
hdiutil.attach)
    printf '/dev/disk4\tGUID_partition_scheme\t\n'
    printf '/dev/disk4s1\tApple_HFS\t/Volumes/My App Installer\n' ;;
hdiutil.convert) printf '%s of ' "$4" > "$last"; cat "$2" >> "$last" ;;
osascript.*) cat > "$records/applescript" ;;
esac
)sh";

const QStringList macPaths{u"/usr/bin/hdiutil"_s, u"/usr/sbin/diskutil"_s, u"/usr/bin/SetFile"_s,
    u"/usr/bin/osascript"_s, u"/bin/sync"_s};

} // namespace

ScriptedTools::ScriptedTools(QString folder, const QString& toolsName)
    : m_folder(std::move(folder))
    , m_tools(m_folder + u'/' + toolsName)
{
    for (const QString& macPath : macPaths) {
        QByteArray text(recorder);
        text.replace("@PATH@", macPath.toUtf8()).replace("@RECORDS@", QFile::encodeName(m_folder));
        writeFile(m_tools + macPath, text);
        QFile::setPermissions(m_tools + macPath, QFile::ReadOwner | QFile::ExeOwner);
    }
}

void ScriptedTools::script(const QString& tool, const QString& verb, const QString& text) const
{
    const QString name = verb.isEmpty() ? tool : tool + u'.' + verb;
    writeFile(m_folder + u"/answers/"_s + name, text.toUtf8());
}

void ScriptedTools::remove(const QString& macPath) const
{
    QFile::remove(m_tools + macPath);
}

QStringList ScriptedTools::calls() const
{
    static const QRegularExpression random(
        u"[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}"_s, QRegularExpression::CaseInsensitiveOption);
    QString all = QString::fromUtf8(readFile(m_folder + u"/calls"_s));
    all.replace(m_folder, QString()).replace(random, u"{ID}"_s).replace(u'\x1f', u' ');
    return all.split(u'\n', Qt::SkipEmptyParts);
}

void writeFile(const QString& path, const QByteArray& content)
{
    QFileInfo(path).dir().mkpath(u"."_s);
    QFile file(path);
    if (!file.open(QFile::WriteOnly) || file.write(content) != content.size())
        qFatal("can't write %s", qPrintable(path));
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}
