#include "SigningTools.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

const char* const recorder = R"sh(#!/bin/sh
records='@RECORDS@'
name="${0##*/}"
{ printf '%s' "$name"; for argument; do printf ' <%s>' "$argument"; done; echo; } >> "$records/calls"
for last; do :; done
case "$1" in
find-identity) request=find-identity ;;
--force) request=sign ;;
--verify) request=verify ;;
-dv) request=inspect ;;
-dvv) request=describe ;;
*) echo "unexpected: $*" >&2; exit 99 ;;
esac
if [ -f "$records/answers/$request" ]; then . "$records/answers/$request"; exit; fi
case "$request" in
find-identity) echo '     0 valid identities found' ;;
sign) echo "$last: signed" >&2 ;;
inspect) echo 'Authority=Developer ID Application: Ada (TEAM)' >&2 ;;
describe) echo 'Timestamp=5 Mar 2026 at 14:03:27' >&2 ;;
esac
)sh";

void write(const QString& path, const QByteArray& content)
{
    QFileInfo(path).dir().mkpath(u"."_s);
    QFile file(path);
    if (!file.open(QFile::WriteOnly) || file.write(content) != content.size())
        qFatal("can't write %s", qPrintable(path));
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

} // namespace

SigningTools::SigningTools(QString folder, QString toolbox)
    : m_folder(std::move(folder))
    , m_toolbox(std::move(toolbox))
{
    QDir().mkpath(m_folder);
    for (const QString& file : {u"/bin/zsh"_s, u"/etc/zsh/.zshenv"_s}) {
        QFileInfo(m_toolbox + file).dir().mkpath(u"."_s);
        QFile::copy(u"" TOOLBOX_DIR ""_s + file, m_toolbox + file);
    }
    const QByteArray text = QByteArray(recorder).replace("@RECORDS@", QFile::encodeName(m_folder));
    for (const QString& tool : {u"/usr/bin/security"_s, u"/usr/bin/codesign"_s})
        write(m_toolbox + tool, text);
}

void SigningTools::answer(const QString& request, const QString& text) const
{
    write(m_folder + u"/answers/"_s + request, text.toUtf8());
}

void SigningTools::remove(const QString& macPath) const
{
    QFile::remove(m_toolbox + macPath);
}

QStringList SigningTools::calls() const
{
    QFile file(m_folder + u"/calls"_s);
    if (!file.open(QFile::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
}

QString identityLine(const QString& sha1, const QString& name)
{
    return u"  1) %1 \"%2\"\n"_s.arg(sha1, name);
}
