#pragma once

#include "notarization/AuthorityState.h"
#include "notarization/GatekeeperState.h"
#include "notarization/ProjectRun.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QUrl>

class ShellRunner;

/// Grades a finished image as a user's Mac will after the download. Main thread only. A
/// verification goes on to its end when the manager is gone; nobody hears of it then.
class VerificationManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(GatekeeperState gatekeeperState READ gatekeeperState NOTIFY gatekeeperStateChanged)
    Q_PROPERTY(AuthorityState authorityState READ authorityState NOTIFY authorityStateChanged)
    Q_PROPERTY(QString logs READ logs NOTIFY logsChanged)

public:
    /// `shell` outlives this object and every verification.
    explicit VerificationManager(ShellRunner& shell, QObject* parent = nullptr);

    const GatekeeperState& gatekeeperState() const { return m_gatekeeperState; }
    AuthorityState authorityState() const { return m_authorityState; }
    const QString& logs() const { return m_logs; }
    /// Accepted, and in the name of the notary.
    bool isReadyForDistribution() const;

    /// Never throws: the outcome is published.
    QCoro::Task<> verify(QUrl image);
    /// For the runs: adds to the log.
    void append(const QString& text);
    /// Tells projects apart: grows with every `clear`.
    int project() const { return m_project; }
    /// For a new project: as at first. A verification still under way goes on unheard.
    void clear();

signals:
    void gatekeeperStateChanged();
    void authorityStateChanged();
    void logsChanged();
    /// The text that was just added to `logs`.
    void messageLogged(const QString& text);

private:
    using Run = ProjectRun<VerificationManager>;

    struct Assessment {
        QString output; // each piece with a line feed
        bool isAccepted = false; // one piece has both the verdict and its source
    };
    static QCoro::Task<Assessment> assess(Run run, ShellRunner& shell, QString command);
    void grade(const Assessment& assessment);

    template <class Value>
    void publish(Value& field, const Value& value, void (VerificationManager::*changed)());

    ShellRunner& m_shell;
    GatekeeperState m_gatekeeperState;
    AuthorityState m_authorityState = AuthorityState::unknown;
    QString m_logs;
    int m_project = 0; // grows with every `clear`
};
