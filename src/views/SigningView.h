#pragma once

#include "platform/Cancellation.h"
#include "views/KeychainGate.h"

#include <QUrl>
#include <QWidget>

class BusyButton;
class ConfigWrapper;
class ImageRow;
class IdentityPicker;
class LogView;
class SigningManager;
class StatusBadge;

/// The step in which the finished image is signed.
class SigningView : public QWidget {
    Q_OBJECT
public:
    /// All outlive this widget. Nothing is complained of once `stop` is requested.
    SigningView(ConfigWrapper& job, SigningManager& signing, KeychainPrimerSheet::Host keychain,
        CancellationHandle stop, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QWidget* makeImageCard();
    QWidget* makeEmptyCard();
    QWidget* makeSigningCard();
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
    CancellationHandle m_stop;
    bool m_isTargeted = false; // by a drag
    QWidget* m_imageCard = nullptr;
    QWidget* m_emptyCard = nullptr; // in its place without an image
    ImageRow* m_image = nullptr;
    StatusBadge* m_status = nullptr;
    IdentityPicker* m_identities = nullptr;
    BusyButton* m_sign = nullptr;
    LogView* m_logs;
};
