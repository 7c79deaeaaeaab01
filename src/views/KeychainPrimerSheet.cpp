#include "views/KeychainPrimerSheet.h"

#include "platform/Clock.h"
#include "views/Buttons.h"
#include "views/Card.h"
#include "views/Labels.h"
#include "views/Symbol.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

KeychainPrimerSheet::KeychainPrimerSheet(
    Host host, QWidget* over, std::function<void()> onContinue, std::function<void()> onCancel)
    : Sheet(u"Keychain Access Required"_s, over)
    , m_host(host)
    , m_keychainManager(host.probe)
    , m_onContinue(std::move(onContinue))
    , m_onCancel(std::move(onCancel))
    , m_continue(new BusyButton(u"Continue"_s, {}))
{
    add(new SymbolLabel(u"key.fill"_s, Theme::Colour::accentInk, 56), Qt::AlignHCenter);
    add(makeLabel(u"Keychain Access Required"_s, Theme::Type::title), Qt::AlignHCenter);
    QLabel* subtitle =
        makeLabel(u"We need permission to securely manage your signing credentials"_s,
            Theme::Type::body, Theme::Colour::secondary);
    subtitle->setWordWrap(true);
    subtitle->setAlignment(Qt::AlignHCenter);
    add(subtitle);
    addSpace(Theme::Space::small);
    add(featureRow(u"signature"_s, u"Read your Developer ID certificate for code signing"_s));
    add(featureRow(u"checkmark.seal.fill"_s, u"Store notarization credentials securely"_s));
    add(featureRow(u"lock.shield.fill"_s, u"Protect your Apple ID and API keys"_s));
    add(nextStepBox());
    addSpace(Theme::Space::small);

    auto* buttons = new QHBoxLayout;
    QPushButton* cancelling = makeButton(u"Cancel"_s);
    buttons->addWidget(cancelling);
    buttons->addStretch();
    buttons->addWidget(m_continue);
    add(buttons);
    connect(cancelling, &QPushButton::clicked, this, &KeychainPrimerSheet::cancel);
    connect(this, &Sheet::escaped, this, &KeychainPrimerSheet::cancel);
    connect(m_continue, &QPushButton::clicked, this, [this] {
        if (m_isProcessing)
            return;
        m_isProcessing = true;
        m_continue->setBusy(true);
        goOn(this, m_host.clock);
    });
}

QLayout* KeychainPrimerSheet::featureRow(const QString& symbol, const QString& text)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(Theme::Space::medium);
    row->addWidget(new SymbolLabel(symbol, Theme::Colour::accentInk, 22));
    QLabel* label = makeLabel(text, Theme::Type::body);
    label->setWordWrap(true);
    row->addWidget(label, 1);
    return row;
}

QWidget* KeychainPrimerSheet::nextStepBox()
{
    auto* box = new Card;
    auto* heading = new QHBoxLayout;
    heading->addWidget(
        new SymbolLabel(u"exclamationmark.triangle.fill"_s, Theme::Colour::orange, 18));
    heading->addWidget(makeLabel(u"Next Step:"_s, Theme::Type::headline), 1);
    box->add(heading);
    QLabel* text = makeLabel(
        u"macOS will prompt: \"Vandor DMG wants to access key 'Developer ID' in your keychain.\""_s,
        Theme::Type::body, Theme::Colour::secondary);
    text->setWordWrap(true);
    box->add(text);
    return box;
}

void KeychainPrimerSheet::cancel()
{
    m_isProcessing = false; // there is nothing to go on with
    if (m_onCancel)
        m_onCancel();
    dismiss();
}

QCoro::Task<> KeychainPrimerSheet::goOn(QPointer<KeychainPrimerSheet> self, Clock& clock)
{
    const bool hasAccess = co_await self->m_keychainManager.checkAccess();
    if (!self)
        co_return;
    if (!hasAccess) {
        self->m_keychainManager.setLastError(
            u"No valid signing identity found. Please import a Developer ID Application certificate."_s);
    }
    co_await clock.wait(500ms, nullptr);
    if (!self || !self->m_isProcessing)
        co_return;
    self->m_isProcessing = false;
    if (const std::function<void()> onContinue = self->m_onContinue)
        onContinue();
    if (self)
        self->dismiss();
}
