#include "views/NotarizationSettingsPage.h"

#include "model/SettingsManager.h"
#include "notarization/NotaryToolClient.h"
#include "views/Buttons.h"
#include "views/SettingsBlocks.h"
#include "views/TabStops.h"
#include "views/TextBlock.h"

#include <QHBoxLayout>
#include <QLineEdit>

using namespace Qt::StringLiterals;

NotarizationSettingsPage::NotarizationSettingsPage(
    SettingsManager& settings, ToolRunner& tools, QWidget* parent)
    : QWidget(parent)
    , m_settings(settings)
    , m_tools(tools)
    , m_verify(makeButton(u"Verify with History"_s))
    , m_store(new BusyButton(u"Store Credentials"_s, u"key.fill"_s))
    , m_result(new TextBlock(u"Result"_s, Theme::Type::caption))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* card = new SettingsCard(u"Notary Credentials (Keychain)"_s,
        u"Store your notarization credentials securely in the System Keychain."_s);
    m_profile = addField(*card, u"Profile Name"_s, u"VandorDMG-Profile"_s);
    m_appleID = addField(*card, u"Apple ID"_s, u"developer@example.com"_s);
    m_teamID = addField(
        *card, u"Team ID"_s, {}, u"Your 10-character Team ID from Apple Developer Account."_s);
    m_password = addField(*card, u"App-Specific Password"_s, u"xxxx-xxxx-xxxx-xxxx"_s,
        u"Create one at account.apple.com under Sign-In and Security. This is NOT saved in the app, but stored securely in the Keychain via xcrun."_s);
    m_password->setEchoMode(QLineEdit::Password);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_verify);
    buttons->addStretch();
    buttons->addWidget(m_store);
    card->add(buttons);
    card->add(m_result);
    layout->addWidget(card);
    layout->addStretch();

    connect(m_profile, &QLineEdit::textEdited, &m_settings, &SettingsManager::setNotaryProfileName);
    connect(m_appleID, &QLineEdit::textEdited, &m_settings, &SettingsManager::setNotaryAppleID);
    connect(m_teamID, &QLineEdit::textEdited, &m_settings, &SettingsManager::setNotaryTeamID);
    connect(m_password, &QLineEdit::textChanged, this, &NotarizationSettingsPage::refresh);
    for (const auto changed : {&SettingsManager::notaryProfileNameChanged,
             &SettingsManager::notaryAppleIDChanged, &SettingsManager::notaryTeamIDChanged})
        connect(&m_settings, changed, this, &NotarizationSettingsPage::refresh);
    connect(m_verify, &QPushButton::clicked, this, &NotarizationSettingsPage::verify);
    connect(m_store, &QPushButton::clicked, this, &NotarizationSettingsPage::store);
    setResult({});
    refresh();
}

void NotarizationSettingsPage::refresh()
{
    const auto show = [](QLineEdit* field, const QString& text) {
        if (field->text() != text)
            field->setText(text);
    };
    show(m_profile, m_settings.notaryProfileName());
    show(m_appleID, m_settings.notaryAppleID());
    show(m_teamID, m_settings.notaryTeamID());
    m_verify->setEnabled(!m_settings.notaryProfileName().isEmpty() && !m_isVerifyingNotary);
    m_store->setEnabled(!m_password->text().isEmpty() && !m_settings.notaryAppleID().isEmpty()
        && !m_settings.notaryTeamID().isEmpty());
    m_store->setBusy(m_isSavingNotary);
}

void NotarizationSettingsPage::setResult(const QString& text)
{
    // A tool may have said one of the good words in what failed.
    const bool isFailure =
        text.startsWith("Error: "_L1) || text.startsWith("Verification Failed: "_L1);
    const bool isGood = !isFailure && (text.contains("Success"_L1) || text.contains("Verified"_L1));
    m_result->setColour(isGood ? Theme::Colour::green : Theme::Colour::red);
    m_result->setContent(text);
    m_result->setVisible(!text.isEmpty());
    if (m_result->isVisible())
        TabStops::bringIntoView(*m_result);
}

void NotarizationSettingsPage::store()
{
    if (m_password->text().isEmpty() || m_isSavingNotary)
        return;
    m_isSavingNotary = true;
    setResult({});
    refresh();
    storing(this,
        NotaryToolClient::storeCredentials(m_tools, m_settings.notaryProfileName(),
            m_settings.notaryAppleID(), m_settings.notaryTeamID(), m_password->text()));
}

QCoro::Task<> NotarizationSettingsPage::storing(
    QPointer<NotarizationSettingsPage> self, QCoro::Task<> operation)
{
    QString failure;
    try {
        co_await operation;
    } catch (const std::exception& error) {
        failure = u"Error: "_s + QString::fromUtf8(error.what());
    }
    if (!self)
        co_return;
    if (failure.isEmpty()) {
        self->setResult(u"Success: Credentials stored in Keychain."_s);
        if (self->m_store->hasFocus())
            self->m_password->setFocus(); // there is nothing to store then
        self->m_password->clear();
    } else {
        self->setResult(failure);
    }
    self->m_isSavingNotary = false;
    self->refresh();
}

void NotarizationSettingsPage::verify()
{
    if (m_verify->hasFocus())
        setFocus(); // else Qt hands it on to the next button
    m_isVerifyingNotary = true;
    setResult(u"Verifying..."_s);
    refresh();
    verifying(this, NotaryToolClient::verifyCredentials(m_tools, m_settings.notaryProfileName()));
}

QCoro::Task<> NotarizationSettingsPage::verifying(
    QPointer<NotarizationSettingsPage> self, QCoro::Task<QString> operation)
{
    QString result = u"Success: Credentials Verified (History access confirmed)."_s;
    try {
        co_await operation;
    } catch (const std::exception& error) {
        result = u"Verification Failed: "_s + QString::fromUtf8(error.what());
    }
    if (!self)
        co_return;
    self->setResult(result);
    self->m_isVerifyingNotary = false;
    self->refresh();
    if (self->hasFocus())
        self->m_verify->setFocus();
}
