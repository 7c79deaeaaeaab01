#pragma once

#include "platform/Descriptor.h"

#include <QString>

#include <stdexcept>

/// Keeps other runs away from an application and from an output, as long as it lives. A run that
/// was killed holds nothing any more.
class ShipLock {
public:
    /// What another run is at work on.
    class Taken : public std::runtime_error {
    public:
        explicit Taken(const QString& path)
            : std::runtime_error(path.toStdString())
        { }
    };

    /// Throws Taken; PlatformError when there can be no lock beside the output.
    ShipLock(const QString& application, const QString& output);
    ~ShipLock();
    ShipLock(const ShipLock&) = delete;
    ShipLock& operator=(const ShipLock&) = delete;

private:
    QString m_lockPath; // a file of its own, since output and ledger are replaced by every step
    Descriptor m_application, m_output; // closing them lets go
};
