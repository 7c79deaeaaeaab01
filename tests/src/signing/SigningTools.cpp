#include "SigningTools.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

const char* const signingRequest = R"sh(case "$1" in
find-identity) request=find-identity ;;
--force) request=sign ;;
--verify) request=verify ;;
-dv) request=inspect ;;
-dvv) request=describe ;;
*) echo "unexpected: $*" >&2; exit 99 ;;
esac)sh";

const char* const signingAnswer = R"sh(case "$request" in
find-identity) echo '     0 valid identities found' ;;
sign) echo "$last: signed" >&2 ;;
inspect) echo 'Authority=Developer ID Application: Ada (TEAM)' >&2 ;;
describe) echo 'Timestamp=5 Mar 2026 at 14:03:27' >&2 ;;
esac)sh";

} // namespace

SigningTools::SigningTools(const QString& folder, const QString& toolbox)
    : RecordingTools(folder, toolbox, {u"/usr/bin/security"_s, u"/usr/bin/codesign"_s},
        signingRequest, signingAnswer)
{
    for (const QString& file : {u"/bin/zsh"_s, u"/etc/zsh/.zshenv"_s}) {
        QFileInfo(toolbox + file).dir().mkpath(u"."_s);
        QFile::copy(u"" TOOLBOX_DIR ""_s + file, toolbox + file);
    }
}

QString identityLine(const QString& sha1, const QString& name)
{
    return u"  1) %1 \"%2\"\n"_s.arg(sha1, name);
}
