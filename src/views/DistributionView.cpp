#include "views/DistributionView.h"

#include "model/ConfigWrapper.h"
#include "notarization/VerificationManager.h"
#include "platform/MainQueue.h"
#include "views/Buttons.h"
#include "views/Card.h"
#include "views/ImageRow.h"
#include "views/Labels.h"
#include "views/LogView.h"
#include "views/Symbol.h"

#include <QHBoxLayout>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace {

constexpr int statusEdge = 52; // of the symbol

struct Answer {
    QString symbol;
    QString text;
    QColor colour;
};

Answer answerOf(const GatekeeperState& state)
{
    using Case = GatekeeperState::Case;
    switch (state.which) {
    case Case::unknown:
        return {u"circle.dashed"_s, u"Waiting..."_s, Theme::Colour::secondary};
    case Case::verifying:
        return {u"hourglass"_s, u"Inspecting..."_s, Theme::Colour::orange};
    case Case::rejected:
        return {u"xmark.shield.fill"_s, u"Rejected: "_s + state.text, Theme::Colour::red};
    case Case::accepted:
        return {u"checkmark.shield.fill"_s, u"Gatekeeper Ready"_s, Theme::Colour::green};
    }
    Q_UNREACHABLE();
}

Answer answerOf(AuthorityState state)
{
    switch (state) {
    case AuthorityState::unknown:
        return {u"circle.dashed"_s, u"Unknown Authority"_s, Theme::Colour::secondary};
    case AuthorityState::appleNotarized:
        return {u"checkmark.seal.fill"_s, u"Apple Verified (Notarized)"_s, Theme::Colour::green};
    case AuthorityState::developerId:
        return {u"signature"_s, u"Developer ID (Signed Only)"_s, Theme::Colour::orange};
    case AuthorityState::unsignedCode:
        return {u"xmark.circle.fill"_s, u"Unsigned"_s, Theme::Colour::red};
    }
    Q_UNREACHABLE();
}

/// First that holds.
Answer verdictOf(const VerificationManager& manager)
{
    if (manager.isReadyForDistribution())
        return {u"checkmark.seal.fill"_s, u"Ready for Distribution!"_s, Theme::Colour::green};
    if (manager.gatekeeperState() == GatekeeperState::verifying())
        return {u"hourglass"_s, u"Verifying..."_s, Theme::Colour::orange};
    return {
        u"exclamationmark.triangle.fill"_s, u"Notarization Incomplete"_s, Theme::Colour::orange};
}

} // namespace

DistributionView::DistributionView(ConfigWrapper& job, VerificationManager& manager,
    std::function<void()> resetAction, QWidget* parent)
    : StepView(parent)
    , m_job(job)
    , m_manager(manager)
    , m_image(new ImageRow(statusEdge))
    , m_logs(new LogView(u"Verification Logs"_s))
{
    content()->addWidget(new SectionHeader(
        u"Distribution"_s, u"Verify your package is ready for public release."_s));
    content()->addWidget(makeStatusCard(std::move(resetAction)));
    content()->addWidget(makeVerifierCard());
    auto* logs = new Card(u"Verification Logs"_s);
    logs->add(m_logs);
    content()->addWidget(logs, 1);
    setEmptyPage(new EmptyState(u"box.truck"_s, u"No DMG has been packaged yet."_s,
        u"Complete the Build, Signing, and Notarization steps first."_s));

    connect(&m_job, &ConfigWrapper::configChanged, this, &DistributionView::refresh);
    for (const auto changed : {&VerificationManager::gatekeeperStateChanged,
             &VerificationManager::authorityStateChanged, &VerificationManager::logsChanged})
        connect(&m_manager, changed, this, &DistributionView::refresh);
    refresh();
}

QWidget* DistributionView::makeStatusCard(std::function<void()> resetAction)
{
    auto* card = new Card;
    auto* row = new QHBoxLayout;
    row->setSpacing(Theme::Space::medium);
    m_statusSymbol = new SymbolLabel({}, Theme::Colour::secondary, statusEdge);
    row->addWidget(m_statusSymbol);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(Theme::Space::tight);
    m_statusTitle = makeLabel({}, Theme::Type::title);
    m_statusCaption = makeLabel(
        u"This DMG has not passed Gatekeeper verification.\nPlease complete the Signing & Notarization steps."_s,
        Theme::Type::body, Theme::Colour::secondary);
    texts->addWidget(m_statusTitle);
    texts->addWidget(m_statusCaption);
    row->addLayout(texts, 1);
    QPushButton* fresh = makeButton(u"New Project"_s);
    connect(fresh, &QPushButton::clicked, this, std::move(resetAction));
    row->addWidget(fresh);
    card->add(row);
    card->add(m_image);
    return card;
}

QWidget* DistributionView::makeVerifierCard()
{
    auto* card = new Card(u"The Verifier"_s, u"Deep inspection using spctl."_s);
    m_gatekeeper = makeRow(u"Gatekeeper Assessment"_s);
    m_authority = makeRow(u"Signature Authority"_s);
    card->add(m_gatekeeper.whole);
    card->add(m_authority.whole);
    return card;
}

DistributionView::Row DistributionView::makeRow(const QString& title)
{
    Row row{new QWidget, new SymbolLabel({}, Theme::Colour::secondary, 22),
        makeLabel({}, Theme::Type::body)};
    auto* layout = new QHBoxLayout(row.whole);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Theme::Space::medium);
    layout->addWidget(row.symbol);
    layout->addWidget(makeLabel(title, Theme::Type::body), 1);
    layout->addWidget(row.text);
    return row;
}

void DistributionView::showEvent(QShowEvent* event)
{
    StepView::showEvent(event);
    const std::optional<QUrl> image = m_job.config().outputURL;
    if (m_hasAutoVerified || !image)
        return;
    m_hasAutoVerified = true;
    MainQueue::post([self = QPointer(this), image] {
        if (self && self->m_job.config().outputURL == image) // or the project is another by now
            self->m_manager.verify(*image);
    });
}

void DistributionView::refresh()
{
    showContent(m_job.config().outputURL.has_value());
    m_image->setImage(m_job.config().outputURL);
    const Answer verdict = verdictOf(m_manager);
    m_statusSymbol->setSymbol(verdict.symbol, verdict.colour);
    m_statusTitle->setText(verdict.text);
    m_statusCaption->setVisible(!m_manager.isReadyForDistribution()
        && m_manager.gatekeeperState() != GatekeeperState::verifying());
    for (const auto& [row, answer] :
        {std::pair(m_gatekeeper, answerOf(m_manager.gatekeeperState())),
            std::pair(m_authority, answerOf(m_manager.authorityState()))}) {
        row.symbol->setSymbol(answer.symbol, answer.colour);
        row.text->setText(answer.text);
        Theme::style(*row.text, Theme::Type::body, answer.colour);
    }
    m_logs->setLog(m_manager.logs());
}
