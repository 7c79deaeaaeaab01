#pragma once

#include "views/KeychainGate.h"
#include "views/StepView.h"

#include <QUrl>

class BusyButton;
class ConfigWrapper;
class IdentityPicker;
class LogView;
class SigningManager;
class StatusBadge;

/// The step in which the finished image is signed.
class SigningView : public StepView {
    Q_OBJECT
public:
    /// All outlive this widget.
    SigningView(ConfigWrapper& job, SigningManager& signing, KeychainPrimerSheet::Host keychain,
        QWidget* parent = nullptr);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void refresh();
    void selectImage();
    void setTargeted(bool targeted);
    void take(const QUrl& image);
    void sign();
    static QCoro::Task<> signNow(QPointer<SigningView> self);
    void showError(const QString& message);

    ConfigWrapper& m_job;
    SigningManager& m_signing;
    KeychainGate* m_keychain;
    bool m_isTargeted = false; // by a drag
    StatusBadge* m_status;
    IdentityPicker* m_identities;
    LogView* m_logs;
    BusyButton* m_sign;
};
