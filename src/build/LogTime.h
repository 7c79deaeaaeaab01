#pragma once

#include <QString>

class QLocale;
class QTime;

/// The time of day as `locale` writes it with hours, minutes and seconds, without a time zone:
/// "14:03:27", "2:03:27 PM".
QString logTime(const QTime& time, const QLocale& locale);
