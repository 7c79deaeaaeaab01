#pragma once

#include "process/ShellError.h"
#include "signing/AppSignatureStatus.h"
#include "signing/SigningHost.h"
#include "signing/SigningIdentity.h"

#include <QCoro/QCoroTask>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <optional>

struct ToolOutcome;

/// Lists the signing identities, remembers the user's choice of one, and signs and inspects
/// applications and images with it. Main thread only. Managers share the remembered choice and
/// nothing else.
///
/// An operation goes on to its end when the manager is gone; nobody hears of it then.
class SigningManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(QList<SigningIdentity> identities READ identities NOTIFY identitiesChanged)
    Q_PROPERTY(bool isScanning READ isScanning NOTIFY isScanningChanged)
    Q_PROPERTY(bool isSigning READ isSigning NOTIFY isSigningChanged)
    Q_PROPERTY(QString logs READ logs NOTIFY logsChanged)
    Q_PROPERTY(bool signSuccess READ signSuccess NOTIFY signSuccessChanged)
    Q_PROPERTY(AppSignatureStatus appSignatureStatus READ appSignatureStatus NOTIFY
            appSignatureStatusChanged)
    Q_PROPERTY(QString appSigningLogs READ appSigningLogs NOTIFY appSigningLogsChanged)
    Q_PROPERTY(bool isAppSigning READ isAppSigning NOTIFY isAppSigningChanged)
    Q_PROPERTY(std::optional<SigningIdentity> selectedIdentity READ selectedIdentity NOTIFY
            selectedIdentityChanged)

public:
    /// Where the fingerprint of the user's choice is kept.
    static const QString kSavedIdentitySHA1;

    explicit SigningManager(SigningHost host, QObject* parent = nullptr);
    /// The one that the settings work on, made on first use, never destroyed.
    static SigningManager& shared();

    /// What the last scan found, in the tool's order.
    const QList<SigningIdentity>& identities() const { return m_identities; }
    /// An identity scan or an inspection runs.
    bool isScanning() const { return m_isScanning; }
    /// An image is being signed.
    bool isSigning() const { return m_isSigning; }
    /// Of scans and of the signing of images.
    const QString& logs() const { return m_logs; }
    /// The last image that was signed has verified.
    bool signSuccess() const { return m_signSuccess; }
    const AppSignatureStatus& appSignatureStatus() const { return m_appSignatureStatus; }
    const QString& appSigningLogs() const { return m_appSigningLogs; }
    bool isAppSigning() const { return m_isAppSigning; }
    const std::optional<SigningIdentity>& selectedIdentity() const { return m_selectedIdentity; }

    /// Starts a scan and returns at once. The remembered choice becomes the selection when the
    /// scan finds it, and otherwise stays remembered.
    void fetchIdentities();
    /// Selects and remembers an identity, or selects and remembers none.
    void selectIdentity(const std::optional<SigningIdentity>& identity);
    /// Selects what another manager has let the user choose since, if the last scan found it.
    void followRemembered();
    /// Fingerprint of the selection or else of the remembered choice.
    std::optional<QString> activeIdentitySHA1() const;

    /// Signs an image and verifies it; only the verification decides. Throws its ShellError, after
    /// it was logged. Does nothing while another image is being signed.
    QCoro::Task<> signDMG(QUrl image, SigningIdentity identity);
    /// Signs, verifies and inspects an application. Never throws: gives the ShellError of a
    /// verification that failed. Does nothing while another application is being signed.
    QCoro::Task<std::optional<ShellError>> signApp(QUrl application, SigningIdentity identity);
    /// Tells what signature an application has, in `appSignatureStatus`. Never throws.
    QCoro::Task<> checkAppSignature(QUrl application);
    /// What somebody else has found out of the application.
    void setAppSignatureStatus(const AppSignatureStatus& status);
    void setAppSigningLogs(const QString& text);
    /// For another application: nothing is known of it yet. What is still being done to the one
    /// before goes on unheard.
    void forgetApplication();
    /// For a new project: no image has been signed yet. What is being signed goes on unheard.
    void clear();

signals:
    void identitiesChanged();
    void isScanningChanged();
    void isSigningChanged();
    void logsChanged();
    void signSuccessChanged();
    void appSignatureStatusChanged();
    void appSigningLogsChanged();
    void isAppSigningChanged();
    void selectedIdentityChanged();
    /// The tool that lists the identities could not be run or read; `reason` is for the user.
    void scanFailed(const QString& reason);
    /// The text that was just added to `logs` or to `appSigningLogs`.
    void messageLogged(const QString& text);

private:
    /// A log, and how it is told that it has changed.
    struct Log {
        QString SigningManager::*text;
        void (SigningManager::*changed)();
        int SigningManager::*subject; // grows when the log becomes that of another one
    };
    static const Log imageLog;
    static const Log appLog;

    static QCoro::Task<> scan(QPointer<SigningManager> manager, ToolRunner& tools);
    static QCoro::Task<std::optional<ShellError>> signAndVerify(QPointer<SigningManager> manager,
        ShellRunner& shell, QString signing, QString verification, Log log, QString announcement);
    void finishScan(const ToolOutcome& outcome);
    std::optional<SigningIdentity> rememberedIdentity() const;
    void restoreSelection();
    void begin(const Log& log, const QString& text);
    void append(const Log& log, const QString& text);
    template <class Value>
    void publish(Value& field, const Value& value, void (SigningManager::*changed)());

    SigningHost m_host;
    QList<SigningIdentity> m_identities;
    bool m_isScanning = false;
    bool m_isSigning = false;
    QString m_logs;
    bool m_signSuccess = false;
    int m_project = 0; // grows with every `clear`
    int m_application = 0; // grows with every `forgetApplication`
    int m_inspection = 0; // grows with everything that is found out of an application
    AppSignatureStatus m_appSignatureStatus;
    QString m_appSigningLogs;
    bool m_isAppSigning = false;
    std::optional<SigningIdentity> m_selectedIdentity;
};
