#pragma once

#include <QString>

/// `text` between double quotation marks, as one literal argument of a shell command: what the
/// shell would expand or end the argument at there is protected by a backslash. An ordinary path or
/// name comes out as it is, in its quotation marks.
QString shellQuoted(const QString& text);
