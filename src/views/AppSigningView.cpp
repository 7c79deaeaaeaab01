#include "views/AppSigningView.h"

#include "model/ConfigWrapper.h"
#include "signing/SigningManager.h"
#include "views/Buttons.h"
#include "views/Card.h"
#include "views/IdentityPicker.h"
#include "views/Labels.h"
#include "views/LogView.h"
#include "views/StatusBadge.h"
#include "views/StepView.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

namespace {

struct Badge {
    QString text;
    QColor colour;
};

Badge badgeOf(const AppSignatureStatus& status)
{
    using Case = AppSignatureStatus::Case;
    switch (status.which) {
    case Case::signedBy:
        return {u"Signed"_s + (status.text.isEmpty() ? QString() : u" · "_s + status.text),
            Theme::Colour::green};
    case Case::invalid:
        return {u"Invalid: "_s + status.text, Theme::Colour::orange};
    case Case::unknown:
        return {u"Unknown"_s, Theme::Colour::secondary};
    case Case::unsignedCode:
        return {u"Unsigned / Invalid"_s, Theme::Colour::red};
    }
    Q_UNREACHABLE();
}

} // namespace

AppSigningView::AppSigningView(ConfigWrapper& job, SigningManager& signing,
    KeychainPrimerSheet::Host keychain, QWidget* parent)
    : QWidget(parent)
    , m_job(job)
    , m_signing(signing)
    , m_keychain(new KeychainGate(keychain, this))
{
    QVBoxLayout* layout = makeStepLayout(this);
    layout->addWidget(new SectionHeader(u"Pre-Flight App Signing"_s,
        u"Inspect your source application and ensure it uses a hardened runtime before building."_s));
    layout->addWidget(makeStatusCard());
    m_controls = makeSigningCard();
    layout->addWidget(m_controls);
    m_emptyCard = makeEmptyCard();
    layout->addWidget(m_emptyCard);
    auto* logs = new Card(u"Inspection Logs"_s);
    m_logs = new LogView(u"Inspection Logs"_s);
    logs->add(m_logs);
    layout->addWidget(logs, 1);

    connect(&m_job, &ConfigWrapper::configChanged, this, &AppSigningView::refresh);
    connect(&m_job, &ConfigWrapper::appURLChanged, this, &AppSigningView::inspect);
    for (const auto changed : {&SigningManager::appSignatureStatusChanged,
             &SigningManager::appSigningLogsChanged, &SigningManager::isAppSigningChanged})
        connect(&m_signing, changed, this, &AppSigningView::refresh);
    connect(m_keychain, &KeychainGate::isProbingChanged, this, &AppSigningView::refresh);
    refresh();
}

QWidget* AppSigningView::makeStatusCard()
{
    auto* card = new Card(u"Signature"_s);
    auto* row = new QHBoxLayout;
    m_badge = new StatusBadge;
    row->addWidget(m_badge, 1);
    m_rescan = makeButton(u"Re-Scan"_s, ButtonKind::secondary, u"arrow.clockwise"_s);
    connect(m_rescan, &QPushButton::clicked, this, &AppSigningView::inspect);
    row->addWidget(m_rescan);
    card->add(row);
    return card;
}

QWidget* AppSigningView::makeSigningCard()
{
    auto* card = new Card(u"Signing Identity"_s);
    m_identities = new IdentityPicker(m_signing);
    card->add(m_identities); // the names are long, and so is the button's
    auto* row = new QHBoxLayout;
    row->addStretch();
    m_sign =
        new BusyButton(u"Sign App Bundle && Enable Hardened Runtime"_s, u"pencil.and.outline"_s);
    m_sign->setAccessibleName(u"Sign App Bundle & Enable Hardened Runtime"_s);
    connect(m_sign, &QPushButton::clicked, this, &AppSigningView::sign);
    row->addWidget(m_sign);
    card->add(row);
    return card;
}

QWidget* AppSigningView::makeEmptyCard()
{
    auto* card = new Card;
    card->add(new EmptyState(u"app.dashed"_s, u"No App Bundle Selected"_s,
        u"Select a valid application in the Assets step to enable signing."_s));
    return card;
}

void AppSigningView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!event->spontaneous())
        m_identities->prepare();
}

void AppSigningView::refresh()
{
    const bool hasApplication = m_job.config().appURL.has_value();
    m_controls->setVisible(hasApplication);
    m_emptyCard->setVisible(!hasApplication);
    m_rescan->setEnabled(hasApplication);
    const Badge badge = badgeOf(m_signing.appSignatureStatus());
    m_badge->setStatus(badge.text, badge.colour);
    m_logs->setLog(m_signing.appSigningLogs());
    m_sign->setBusy(m_signing.isAppSigning() || m_keychain->isProbing());
}

void AppSigningView::inspect()
{
    if (const std::optional<QUrl> application = m_job.config().appURL)
        m_signing.checkAppSignature(*application);
}

void AppSigningView::sign()
{
    if (m_job.config().appURL && m_identities->selectedIdentity())
        m_keychain->pass([this] { signNow(); });
}

void AppSigningView::signNow()
{
    const std::optional<QUrl> application = m_job.config().appURL;
    const std::optional<SigningIdentity> identity = m_identities->selectedIdentity();
    if (!application || !identity)
        return;
    m_signing.selectIdentity(identity);
    m_signing.signApp(*application, *identity);
}
