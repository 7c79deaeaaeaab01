#include "NotaryTools.h"

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
case "$name $*" in
'xcrun notarytool '*) request=$2 ;;
'xcrun stapler '*) request=$2 ;;
'spctl '*' install '*) request=install ;;
'spctl '*) request=open ;;
'ditto -c -k --keepParent '*) request=archive ;;
*) echo "unexpected: $*" >&2; exit 99 ;;
esac
echo >> "$records/count.$request"
number=$(($(wc -l < "$records/count.$request")))
for answer in "$request.$number" "$request"; do
    if [ -f "$records/answers/$answer" ]; then . "$records/answers/$answer"; exit; fi
done
case "$request" in
submit | wait)
    printf 'Processing complete\n  id: 2efe2717-52ef-43a5-96dc-0797e4ca1041\n  status: Accepted\n' ;;
history) echo 'Successfully received submission history.' ;;
staple) echo 'The staple and validate action worked!' ;;
validate) echo 'The validate action worked!' ;;
install | open) printf '%s: accepted\nsource=Notarized Developer ID\n' "$last" >&2 ;;
archive) echo zip > "$last" ;;
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

NotaryTools::NotaryTools(QString folder, QString toolbox)
    : m_folder(std::move(folder))
    , m_toolbox(std::move(toolbox))
{
    QDir().mkpath(m_folder);
    const QByteArray text = QByteArray(recorder).replace("@RECORDS@", QFile::encodeName(m_folder));
    for (const QString& tool : {u"/usr/bin/xcrun"_s, u"/usr/sbin/spctl"_s, u"/usr/bin/ditto"_s})
        write(m_toolbox + tool, text);
}

void NotaryTools::answer(const QString& request, const QString& text) const
{
    write(m_folder + u"/answers/"_s + request, text.toUtf8());
}

void NotaryTools::remove(const QString& macPath) const
{
    QFile::remove(m_toolbox + macPath);
}

QStringList NotaryTools::calls() const
{
    QFile file(m_folder + u"/calls"_s);
    if (!file.open(QFile::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
}
