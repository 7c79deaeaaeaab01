#include "views/SigningSettingsPage.h"

#include "signing/SigningManager.h"
#include "views/Buttons.h"
#include "views/ComboBox.h"
#include "views/SettingsBlocks.h"
#include "views/Symbol.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QProgressBar>

#include <algorithm>

using namespace Qt::StringLiterals;

SigningSettingsPage::SigningSettingsPage(SigningManager& manager, QWidget* parent)
    : QWidget(parent)
    , m_manager(manager)
    , m_statusSymbol(new SymbolLabel({}, Theme::Colour::secondary, 18))
    , m_statusText(makeLabel({}, Theme::Type::body))
    , m_picker(new ComboBox)
    , m_scanning(new QWidget)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Theme::Space::large);

    auto* identity = new SettingsCard(u"Code Signing Identity"_s,
        u"Select a 'Developer ID Application' certificate to sign your DMGs for distribution."_s);
    auto* status = new QHBoxLayout;
    status->addWidget(m_statusSymbol);
    status->addWidget(m_statusText, 1);
    identity->add(status);
    m_picker->setAccessibleName(u"Signing Identity"_s);
    m_picker->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_picker->setMinimumContentsLength(24);
    identity->add(m_picker);
    auto* scanning = new QHBoxLayout(m_scanning);
    scanning->setContentsMargins(0, 8, 0, 8);
    auto* bar = new QProgressBar;
    bar->setRange(0, 0);
    bar->setTextVisible(false);
    scanning->addWidget(bar, 1);
    scanning->addWidget(makeLabel(u"Scanning..."_s, Theme::Type::body, Theme::Colour::secondary));
    identity->add(m_scanning);

    auto* buttons = new QHBoxLayout;
    QPushButton* rescan =
        makeButton(u"Refresh Identities"_s, ButtonKind::secondary, u"arrow.clockwise"_s);
    QPushButton* clear = makeButton(u"Clear Selection"_s);
    buttons->addWidget(rescan);
    buttons->addWidget(clear);
    buttons->addStretch();
    identity->add(buttons);
    layout->addWidget(identity);

    auto* about = new SettingsCard(u"About Code Signing"_s);
    about->add(makeLabel(u"Vandor DMG uses the macOS `codesign` tool."_s, Theme::Type::body));
    auto* key = new QHBoxLayout;
    key->addWidget(new SymbolLabel(u"key.fill"_s, Theme::Colour::secondary, 18));
    key->addWidget(
        makeLabel(u"Signing requires a valid Certificate in Keychain"_s, Theme::Type::body), 1);
    about->add(key);
    layout->addWidget(about);
    layout->addStretch();

    connect(rescan, &QPushButton::clicked, &m_manager, &SigningManager::fetchIdentities);
    connect(clear, &QPushButton::clicked, this, [this] {
        m_manager.selectIdentity(std::nullopt);
        refresh(); // nothing may have been selected but a certificate that is gone
    });
    connect(m_picker, &QComboBox::activated, this, &SigningSettingsPage::choose);
    for (const auto changed : {&SigningManager::identitiesChanged,
             &SigningManager::selectedIdentityChanged, &SigningManager::isScanningChanged})
        connect(&m_manager, changed, this, &SigningSettingsPage::refresh);
    refresh();
}

bool SigningSettingsPage::event(QEvent* event)
{
    if (event->type() == QEvent::WindowActivate) {
        m_manager.followRemembered();
        refresh();
    }
    return QWidget::event(event);
}

void SigningSettingsPage::refresh()
{
    const bool isEnabled = m_manager.selectedIdentity().has_value();
    m_statusSymbol->setSymbol(
        isEnabled ? u"checkmark.circle.fill"_s : u"exclamationmark.triangle.fill"_s,
        isEnabled ? Theme::Colour::green : Theme::Colour::orange);
    m_statusText->setText(isEnabled ? u"Signing Enabled"_s : u"No Identity Selected"_s);
    m_picker->setVisible(!m_manager.isScanning());
    m_scanning->setVisible(m_manager.isScanning());
    fillPicker();
}

void SigningSettingsPage::fillPicker()
{
    const std::optional<QString> active = m_manager.activeIdentitySHA1();
    m_picker->clear();
    m_picker->addItem(u"Select Identity..."_s);
    for (const SigningIdentity& each : m_manager.identities())
        m_picker->addItem(each.name, each.sha1);
    if (!active)
        return;
    int index = m_picker->findData(*active);
    if (index < 0) {
        m_picker->addItem(u"Missing Identity (%1...)"_s.arg(active->left(8)), *active);
        index = m_picker->count() - 1;
    }
    m_picker->setCurrentIndex(index);
}

void SigningSettingsPage::choose(int index)
{
    const QString sha1 = m_picker->itemData(index).toString();
    const QList<SigningIdentity>& list = m_manager.identities();
    const auto found =
        std::ranges::find_if(list, [&](const SigningIdentity& each) { return each.sha1 == sha1; });
    if (found != list.end())
        m_manager.selectIdentity(*found);
    else if (index == 0)
        m_manager.selectIdentity(std::nullopt);
    refresh();
}
