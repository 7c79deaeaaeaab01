#pragma once

#include <QString>

#include <stdexcept>

/// A tool that could not even be started. `what` is the host's own sentence about it, in UTF-8.
class LaunchError : public std::runtime_error {
public:
    explicit LaunchError(const QString& sentence)
        : std::runtime_error(sentence.toStdString())
    { }
};
