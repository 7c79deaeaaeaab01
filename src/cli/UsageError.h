#pragma once

#include <QString>

#include <stdexcept>

/// A command line that asks for something senseless. `what` says what and why, in UTF-8.
class UsageError : public std::runtime_error {
public:
    explicit UsageError(const QString& message)
        : std::runtime_error(message.toStdString())
    { }
};
