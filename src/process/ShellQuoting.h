#pragma once

#include <QString>

/// `text` between double quotation marks, as one literal argument of a shell command: what the
/// shell would expand or end the argument at there is protected by a backslash. An ordinary path or
/// name comes out as it is, in its quotation marks.
QString shellQuoted(const QString& text);

/// `form` with each %1, %2, ... replaced by one of `values`, quoted.
template <typename... Values>
QString shellCommand(const QString& form, const Values&... values)
{
    return form.arg(shellQuoted(values)...);
}

/// `command` with standard error in the standard output.
QString withErrors(const QString& command);
