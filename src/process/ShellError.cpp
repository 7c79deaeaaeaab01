#include "process/ShellError.h"

#include <utility>

using namespace Qt::StringLiterals;

ShellError::ShellError(Case which, int exitStatus, QString text)
    : m_case(which)
    , m_exitStatus(exitStatus)
    , m_text(std::move(text))
    , m_what(description().toUtf8())
{ }

ShellError ShellError::commandFailed(int exitStatus, QString output)
{
    return {Case::commandFailed, exitStatus, std::move(output)};
}

ShellError ShellError::executionFailed(QString launchError)
{
    return {Case::executionFailed, 0, std::move(launchError)};
}

QString ShellError::description() const
{
    switch (m_case) {
    case Case::commandFailed: {
        const QString said = m_text.trimmed();
        return u"The command ended with status %1"_s.arg(m_exitStatus)
            + (said.isEmpty() ? u"."_s : u": "_s + said);
    }
    case Case::executionFailed:
        return m_text;
    }
    Q_UNREACHABLE();
}

QString ShellError::rendering() const
{
    switch (m_case) {
    case Case::commandFailed:
        return u"commandFailed(%1, \"%2\")"_s.arg(QString::number(m_exitStatus), m_text);
    case Case::executionFailed:
        return u"executionFailed(\"%1\")"_s.arg(m_text);
    }
    Q_UNREACHABLE();
}
