#pragma once

#include <QCoro/QCoroTask>
#include <QPointer>
#include <QWidget>

class BusyButton;
class QLineEdit;
class QPushButton;
class SettingsManager;
class TextBlock;
class ToolRunner;

/// The settings of the notary service's credentials, which are stored and tried here.
class NotarizationSettingsPage : public QWidget {
    Q_OBJECT
public:
    /// Both outlive this widget.
    NotarizationSettingsPage(
        SettingsManager& settings, ToolRunner& tools, QWidget* parent = nullptr);

private:
    void refresh();
    void setResult(const QString& text);
    void store();
    void verify();
    static QCoro::Task<> storing(QPointer<NotarizationSettingsPage> self, QCoro::Task<> operation);
    static QCoro::Task<> verifying(
        QPointer<NotarizationSettingsPage> self, QCoro::Task<QString> operation);

    SettingsManager& m_settings;
    ToolRunner& m_tools;
    bool m_isSavingNotary = false;
    bool m_isVerifyingNotary = false;
    QLineEdit* m_profile;
    QLineEdit* m_appleID;
    QLineEdit* m_teamID;
    QLineEdit* m_password;
    QPushButton* m_verify;
    BusyButton* m_store;
    TextBlock* m_result;
};
