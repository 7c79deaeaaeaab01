#include "process/ShellQuoting.h"

#include <QStringView>

using namespace Qt::StringLiterals;

QString shellQuoted(const QString& text)
{
    constexpr QStringView active = u"\"$`\\";
    QString result = u"\""_s;
    for (const QChar character : text) {
        if (active.contains(character))
            result += u'\\';
        result += character;
    }
    return result + u'"';
}

QString withErrors(const QString& command)
{
    return command + u" 2>&1"_s;
}
