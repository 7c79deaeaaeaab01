#pragma once

#include "notarization/ProjectRun.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QString>

class UserDefaults;

/// What the notarization of images and that of applications publish alike. Main thread only.
class NotarizationState : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isProcessing READ isProcessing NOTIFY isProcessingChanged)
    Q_PROPERTY(QString logs READ logs NOTIFY logsChanged)
    Q_PROPERTY(bool notarizationSuccess READ notarizationSuccess NOTIFY notarizationSuccessChanged)
    Q_PROPERTY(QString profileName READ profileName WRITE setProfileName NOTIFY profileNameChanged)

public:
    /// Where the name of the profile is kept. One name for images and applications: each manager
    /// reads it once, when it is made, and writes every change at once.
    static const QString kSavedProfileName;

    /// A notarization is under way.
    bool isProcessing() const { return m_isProcessing; }
    /// Of the last run.
    const QString& logs() const { return m_logs; }
    bool notarizationSuccess() const { return m_notarizationSuccess; }
    /// The keychain profile that submissions name.
    const QString& profileName() const { return m_profileName; }
    void setProfileName(const QString& name);

    /// For the runs: adds to the log.
    void append(const QString& text);
    /// What somebody else has found out of the application or image.
    void setNotarizationSuccess(bool value) { setSuccess(value); }
    void clearLogs();
    /// Tells projects apart: grows with every `clear`.
    int project() const { return m_project; }
    /// For a new project: as at first, but for the profile. A run that is still under way goes on
    /// unheard.
    void clear();

signals:
    void isProcessingChanged();
    void logsChanged();
    void notarizationSuccessChanged();
    void profileNameChanged();
    /// The text that was just added to `logs`.
    void messageLogged(const QString& text);

protected:
    using Run = ProjectRun<NotarizationState>;

    NotarizationState(UserDefaults& defaults, QObject* parent);

    /// Opens a notarization. False when there can be none: while another is under way, or without a
    /// profile, which is all that the log then gets.
    bool start();
    /// Publishes how the notarization ends that `work` is.
    static QCoro::Task<> finish(Run run, QCoro::Task<> work);
    /// Starts over: with an empty log and no success yet.
    void begin();
    void setSuccess(bool value);

private:
    void setProcessing(bool value);
    template <class Value>
    void publish(Value& field, const Value& value, void (NotarizationState::*changed)());

    UserDefaults& m_defaults;
    QString m_profileName;
    bool m_isProcessing = false;
    QString m_logs;
    bool m_notarizationSuccess = false;
    int m_project = 0;
};
