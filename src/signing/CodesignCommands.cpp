#include "signing/CodesignCommands.h"

#include "process/ShellQuoting.h"

using namespace Qt::StringLiterals;

namespace CodesignCommands {

QString signImage(const QString& sha1, const QString& path)
{
    return u"/usr/bin/codesign --force --sign %1 --timestamp --verbose %2"_s.arg(
        shellQuoted(sha1), shellQuoted(path));
}

QString signApplication(const QString& sha1, const QString& path)
{
    return u"/usr/bin/codesign --force --options runtime --deep --sign %1 --verbose %2"_s.arg(
        shellQuoted(sha1), shellQuoted(path));
}

QString verify(const QString& path)
{
    return u"/usr/bin/codesign --verify --verbose "_s + shellQuoted(path);
}

QString inspect(const QString& path)
{
    return u"/usr/bin/codesign -dv --verbose=4 %1 2>&1"_s.arg(shellQuoted(path));
}

} // namespace CodesignCommands
