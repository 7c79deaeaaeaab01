#include "views/AppNotarizationView.h"

#include "model/ConfigWrapper.h"
#include "notarization/AppNotarizationManager.h"
#include "platform/MainQueue.h"
#include "views/Buttons.h"
#include "views/Card.h"
#include "views/Field.h"
#include "views/Labels.h"
#include "views/LogView.h"
#include "views/StatusBadge.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPointer>

#include <utility>

using namespace Qt::StringLiterals;

AppNotarizationView::AppNotarizationView(
    ConfigWrapper& job, AppNotarizationManager& manager, CancellationHandle stop, QWidget* parent)
    : StepView(parent)
    , m_job(job)
    , m_manager(manager)
    , m_stop(std::move(stop))
    , m_status(new StatusBadge)
    , m_profile(new QLineEdit)
    , m_logs(new LogView(u"Inspection & Notarization Logs"_s))
    , m_start(new BusyButton(u"Zip && Notarize Application"_s, u"checkmark.seal.fill"_s))
{
    content()->addWidget(new SectionHeader(u"App Notarization"_s,
        u"Notarize the source application bundle before packaging it into a DMG."_s));
    auto* status = new QHBoxLayout;
    status->addWidget(m_status, 1);
    QPushButton* rescan =
        makeButton(u"Rescan Application Status"_s, ButtonKind::secondary, u"arrow.clockwise"_s);
    connect(rescan, &QPushButton::clicked, this, &AppNotarizationView::preflight);
    status->addWidget(rescan);
    auto* statusCard = new Card(u"Status"_s);
    statusCard->add(status);
    content()->addWidget(statusCard);

    auto* credentials = new Card(u"Notary Credentials"_s);
    m_profile->setAccessibleName(u"Keychain Profile Name"_s);
    connect(m_profile, &QLineEdit::textEdited, &m_manager, &NotarizationState::setProfileName);
    auto* row = new QHBoxLayout;
    row->setSpacing(Theme::Space::medium);
    row->addWidget(m_profile, 1);
    m_start->setAccessibleName(u"Zip & Notarize Application"_s);
    connect(m_start, &QPushButton::clicked, this, &AppNotarizationView::notarize);
    row->addWidget(m_start);
    credentials->add(new Field(u"Keychain Profile Name"_s, row,
        u"Use the name of a Keychain Profile created with `xcrun notarytool store-credentials`."_s));
    content()->addWidget(credentials);

    auto* logs = new Card(u"Inspection & Notarization Logs"_s);
    logs->add(m_logs);
    content()->addWidget(logs, 1);
    setEmptyPage(new EmptyState(u"checkmark.shield"_s, u"No App Bundle Selected"_s,
        u"Select a valid application in the Assets step to enable notarization."_s));

    connect(&m_job, &ConfigWrapper::configChanged, this, &AppNotarizationView::refresh);
    connect(&m_job, &ConfigWrapper::appURLChanged, this, &AppNotarizationView::preflightLater);
    for (const auto changed :
        {&NotarizationState::logsChanged, &NotarizationState::isProcessingChanged,
            &NotarizationState::notarizationSuccessChanged, &NotarizationState::profileNameChanged})
        connect(&m_manager, changed, this, &AppNotarizationView::refresh);
    refresh();
}

void AppNotarizationView::showEvent(QShowEvent* event)
{
    StepView::showEvent(event);
    if (!event->spontaneous())
        preflightLater();
}

void AppNotarizationView::refresh()
{
    showContent(m_job.config().appURL.has_value());
    if (m_manager.notarizationSuccess())
        m_status->setStatus(u"Notarized & Stapled"_s, Theme::Colour::green);
    else
        m_status->setStatus(u"Ready to Notarize"_s, Theme::Colour::secondary);
    if (m_profile->text() != m_manager.profileName())
        m_profile->setText(m_manager.profileName());
    m_logs->setLog(m_manager.logs());
    m_start->setBusy(m_manager.isProcessing());
}

void AppNotarizationView::preflightLater()
{
    MainQueue::post([self = QPointer(this)] {
        if (self)
            self->preflight();
    });
}

void AppNotarizationView::preflight()
{
    if (const std::optional<QUrl> application = m_job.config().appURL)
        m_manager.preflight(*application);
}

void AppNotarizationView::notarize()
{
    if (const std::optional<QUrl> application = m_job.config().appURL)
        m_manager.notarize(*application, m_stop);
}
