#include "build/LogTime.h"

#include <QLocale>
#include <QTime>

using namespace Qt::StringLiterals;

namespace {

/// A locale's long time pattern without the zone: Qt knows only a short one, which lacks the
/// seconds, and this. Quoted letters of the pattern stay.
QString patternWithoutZone(const QString& pattern)
{
    QString result;
    bool isQuoted = false;
    for (const QChar letter : pattern) {
        if (letter == u'\'')
            isQuoted = !isQuoted;
        if (isQuoted || letter != u't')
            result += letter;
    }
    return result.remove("()"_L1).simplified();
}

} // namespace

QString logTime(const QTime& time, const QLocale& locale)
{
    return locale.toString(time, patternWithoutZone(locale.timeFormat(QLocale::LongFormat)));
}
