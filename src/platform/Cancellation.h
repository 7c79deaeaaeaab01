#pragma once

#include <QObject>

#include <memory>

/// A user's wish to stop, shared by the one who asks and all who wait. It stays asked for.
class Cancellation : public QObject {
    Q_OBJECT
public:
    bool isRequested() const { return m_requested; }
    /// The first call emits `requested`; later ones do nothing.
    void request();

signals:
    void requested();

private:
    bool m_requested = false;
};

using CancellationHandle = std::shared_ptr<Cancellation>;
