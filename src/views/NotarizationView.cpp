#include "views/NotarizationView.h"

#include "model/ConfigWrapper.h"
#include "notarization/NotarizationManager.h"
#include "views/Buttons.h"
#include "views/Card.h"
#include "views/Field.h"
#include "views/ImageRow.h"
#include "views/Labels.h"
#include "views/LogView.h"
#include "views/StatusBadge.h"

#include <QHBoxLayout>
#include <QLineEdit>

#include <utility>

using namespace Qt::StringLiterals;

NotarizationView::NotarizationView(
    ConfigWrapper& job, NotarizationManager& manager, CancellationHandle stop, QWidget* parent)
    : StepView(parent)
    , m_job(job)
    , m_manager(manager)
    , m_stop(std::move(stop))
    , m_status(new StatusBadge)
    , m_profile(new QLineEdit)
    , m_image(new ImageRow)
    , m_logs(new LogView(u"Notarization Logs"_s))
    , m_start(new BusyButton(u"Notarize && Staple"_s, u"checkmark.seal"_s))
{
    content()->addWidget(new SectionHeader(u"Notarization"_s,
        u"Submit your signed DMG to Apple's Notary Service and staple the ticket."_s));
    auto* status = new Card(u"Status"_s);
    status->add(m_image);
    status->add(m_status);
    content()->addWidget(status);

    auto* profile = new Card(u"Keychain Profile"_s);
    m_profile->setAccessibleName(u"Profile Name"_s);
    connect(m_profile, &QLineEdit::textEdited, &m_manager, &NotarizationState::setProfileName);
    auto* row = new QHBoxLayout;
    row->setSpacing(Theme::Space::medium);
    row->addWidget(m_profile, 1);
    m_start->setAccessibleName(u"Notarize & Staple"_s);
    connect(m_start, &QPushButton::clicked, this, &NotarizationView::notarize);
    row->addWidget(m_start);
    profile->add(new Field(u"Profile Name"_s, row,
        u"Use 'xcrun notarytool store-credentials \"Name\"' in Terminal to set this up."_s));
    content()->addWidget(profile);

    auto* logs = new Card(u"Notarization Logs"_s);
    logs->add(m_logs);
    content()->addWidget(logs, 1);
    setEmptyPage(new EmptyState(
        u"arrow.down.doc"_s, u"No DMG Selected"_s, u"Build or Select a DMG and Sign it first."_s));

    connect(&m_job, &ConfigWrapper::configChanged, this, &NotarizationView::refresh);
    for (const auto changed :
        {&NotarizationState::logsChanged, &NotarizationState::isProcessingChanged,
            &NotarizationState::notarizationSuccessChanged, &NotarizationState::profileNameChanged})
        connect(&m_manager, changed, this, &NotarizationView::refresh);
    refresh();
}

void NotarizationView::refresh()
{
    showContent(m_job.config().outputURL.has_value());
    m_image->setImage(m_job.config().outputURL);
    if (m_manager.notarizationSuccess())
        m_status->setStatus(u"Notarized & Stapled"_s, Theme::Colour::green);
    else if (m_manager.isProcessing())
        m_status->setStatus(u"Processing..."_s, Theme::Colour::orange);
    else
        m_status->setStatus(u"Ready to Notarize"_s, Theme::Colour::secondary);
    if (m_profile->text() != m_manager.profileName())
        m_profile->setText(m_manager.profileName());
    m_logs->setLog(m_manager.logs());
    m_start->setBusy(m_manager.isProcessing(), u"Processing..."_s);
}

void NotarizationView::notarize()
{
    if (const std::optional<QUrl> image = m_job.config().outputURL)
        m_manager.notarize(*image, m_stop);
}
