#pragma once

#include "cli/ToolSession.h"
#include "signing/SigningManager.h"

#include <optional>

/// What the commands around signing share: a manager over the user's own keychain.
class SigningSession : public ToolSession {
    Q_OBJECT
public:
    explicit SigningSession(const CommandHost& host);

    SigningManager& manager() { return m_manager; }

    /// Scans for identities to the end. Gives why the scan failed, nothing when it didn't.
    QCoro::Task<std::optional<QString>> scan();

signals:
    /// What the manager logged, without the line ends around it and the log's own words on a
    /// failure, for which a report has better ones.
    void progressed(const QString& message);

private:
    void follow(const QString& text);

    SigningManager m_manager;
};
