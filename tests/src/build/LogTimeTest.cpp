#include "build/LogTime.h"

#include <QLocale>
#include <QTime>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(LogTime, HasSecondsAndNoZoneAsTheLocaleWritesThem)
{
    struct Row {
        const char* name;
        QString locale;
        QString text;
    };
    const Row rows[] = {
        {"without a locale", u"C"_s, u"14:03:07"_s},
        {"twelve hours", u"en_US"_s, u"2:03:07 PM"_s},
        {"twenty-four hours", u"de_DE"_s, u"14:03:07"_s},
        {"points between", u"fi_FI"_s, u"14.03.07"_s},
        {"the zone in parentheses", u"es_ES"_s, u"14:03:07"_s},
        {"the zone in front", u"zh_CN"_s, u"14:03:07"_s},
        {"units in words", u"fr_CA"_s, u"14 h 03 min 07 s"_s},
    };
    for (const Row& row : rows)
        EXPECT_EQ(logTime(QTime(14, 3, 7), QLocale(row.locale)).replace(u'\u202f', u' '), row.text)
            << row.name;
}

} // namespace
