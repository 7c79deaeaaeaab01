#include "signing/CodesignCommands.h"

#include "process/ShellQuoting.h"

using namespace Qt::StringLiterals;

namespace CodesignCommands {

QString signImage(const QString& sha1, const QString& path)
{
    return shellCommand(
        u"/usr/bin/codesign --force --sign %1 --timestamp --verbose %2"_s, sha1, path);
}

QString signApplication(const QString& sha1, const QString& path)
{
    return shellCommand(
        u"/usr/bin/codesign --force --options runtime --deep --sign %1 --verbose %2"_s, sha1, path);
}

QString verify(const QString& path)
{
    return shellCommand(u"/usr/bin/codesign --verify --verbose %1"_s, path);
}

QString inspect(const QString& path)
{
    return withErrors(shellCommand(u"/usr/bin/codesign -dv --verbose=4 %1"_s, path));
}

} // namespace CodesignCommands
