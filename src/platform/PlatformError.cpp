#include "platform/PlatformError.h"

#include <QCoreApplication>

#include <system_error>
#include <utility>

namespace {

QString sentence(PlatformError::Operation operation)
{
    const auto translated = [](const char* text) {
        return QCoreApplication::translate("PlatformError", text);
    };
    switch (operation) {
    case PlatformError::Operation::start:
        return translated("Could not start “%1”: %2.");
    case PlatformError::Operation::read:
        return translated("Could not read “%1”: %2.");
    case PlatformError::Operation::write:
        return translated("Could not write “%1”: %2.");
    case PlatformError::Operation::copy:
        return translated("Could not copy “%1”: %2.");
    case PlatformError::Operation::createFolder:
        return translated("Could not create the folder “%1”: %2.");
    case PlatformError::Operation::createLink:
        return translated("Could not create the link “%1”: %2.");
    case PlatformError::Operation::remove:
        return translated("Could not remove “%1”: %2.");
    }
    return {};
}

} // namespace

PlatformError::PlatformError(Operation operation, QString path, QString reason)
    : m_operation(operation)
    , m_path(std::move(path))
    , m_reason(std::move(reason))
{
    m_what = description().toUtf8();
}

PlatformError PlatformError::fromErrno(Operation operation, const QString& path, int error)
{
    const std::string reason = std::generic_category().message(error);
    PlatformError result(operation, path, QString::fromLocal8Bit(reason));
    result.m_errorNumber = error;
    return result;
}

QString PlatformError::description() const
{
    return sentence(m_operation).arg(m_path, m_reason); // both at once: a path may hold "%2"
}
