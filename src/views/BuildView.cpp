#include "views/BuildView.h"

#include "build/BuildManager.h"
#include "build/OutputName.h"
#include "model/ConfigWrapper.h"
#include "model/SettingsManager.h"
#include "platform/Clock.h"
#include "platform/Paths.h"
#include "views/Buttons.h"
#include "views/Card.h"
#include "views/FilePicker.h"
#include "views/ImageRow.h"
#include "views/Labels.h"
#include "views/LogView.h"
#include "views/StepView.h"
#include "views/Symbol.h"
#include "views/TextBlock.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QProgressBar>

using namespace Qt::StringLiterals;

namespace {

constexpr int verdictEdge = 34; // of the symbol

/// The last line of a log, without the time before it.
QString lastMessageIn(const QString& log)
{
    const QString line = log.trimmed().section(u'\n', -1);
    return line.startsWith(u'[') ? line.section(u"] "_s, 1) : line;
}

} // namespace

BuildView::BuildView(ConfigWrapper& job, BuildManager& manager, const SettingsManager& settings,
    const Clock& clock, const Actions& actions, QWidget* parent)
    : QWidget(parent)
    , m_job(job)
    , m_manager(manager)
    , m_settings(settings)
    , m_clock(clock)
    , m_logs(new LogView(u"Build Log"_s))
{
    QVBoxLayout* layout = makeStepLayout(this);
    layout->addWidget(new SectionHeader(
        u"Build & Progress"_s, u"Monitor the creation process and review build logs."_s));
    layout->addWidget(makeJobCard());
    m_error = makeErrorCard();
    layout->addWidget(m_error);
    m_completion = makeCompletionCard(actions);
    layout->addWidget(m_completion);
    auto* logs = new Card(u"Build Log"_s);
    logs->add(m_logs);
    layout->addWidget(logs, 1);

    connect(&m_job, &ConfigWrapper::configChanged, this, &BuildView::refresh);
    connect(&m_manager, &BuildManager::statusChanged, this, &BuildView::refresh);
    connect(&m_manager, &BuildManager::logsChanged, this, &BuildView::refresh);
    connect(&m_manager, &BuildManager::messageLogged, this, &BuildView::followStep);
    connect(&m_manager, &BuildManager::shareDone, this, &BuildView::followShare);
    if (m_manager.status().isBuilding())
        followStep(lastMessageIn(m_manager.logs()));
    refresh();
}

QWidget* BuildView::makeJobCard()
{
    auto* card = new Card;
    auto* row = new QHBoxLayout;
    auto* texts = new QVBoxLayout;
    texts->setSpacing(Theme::Space::tight);
    texts->addWidget(
        makeLabel(u"Ready to package:"_s, Theme::Type::caption, Theme::Colour::secondary));
    m_application = new ElidedLabel(Theme::Type::headline);
    texts->addWidget(m_application);
    row->addLayout(texts, 1);
    m_build = makeButton(u"Build DMG"_s, ButtonKind::primary, u"hammer"_s);
    connect(m_build, &QPushButton::clicked, this, &BuildView::chooseOutput);
    row->addWidget(m_build);
    m_cancel = makeButton(u"Cancel Build"_s, ButtonKind::destructive);
    connect(m_cancel, &QPushButton::clicked, &m_manager, &BuildManager::cancel);
    row->addWidget(m_cancel);
    card->add(row);

    m_progress = new QWidget;
    auto* progress = new QVBoxLayout(m_progress);
    progress->setContentsMargins(0, 0, 0, 0);
    m_bar = new QProgressBar;
    m_bar->setRange(0, 0);
    m_bar->setTextVisible(false);
    m_bar->setAccessibleName(u"Build progress"_s);
    progress->addWidget(m_bar);
    m_step = new ElidedLabel(Theme::Type::caption);
    Theme::style(*m_step, Theme::Type::caption, Theme::Colour::secondary);
    progress->addWidget(m_step);
    card->add(m_progress);
    return card;
}

QWidget* BuildView::makeErrorCard()
{
    auto* card = new Card;
    auto* heading = new QHBoxLayout;
    heading->addWidget(new SymbolLabel(u"exclamationmark.triangle.fill"_s, Theme::Colour::red, 22));
    heading->addWidget(makeLabel(u"Error"_s, Theme::Type::headline, Theme::Colour::red), 1);
    card->add(heading);
    m_errorText = new TextBlock(u"Error"_s, Theme::Type::body);
    card->add(m_errorText);
    return card;
}

QWidget* BuildView::makeCompletionCard(const Actions& actions)
{
    auto* card = new Card;
    auto* heading = new QHBoxLayout;
    heading->setSpacing(Theme::Space::medium);
    heading->addWidget(
        new SymbolLabel(u"checkmark.circle.fill"_s, Theme::Colour::green, verdictEdge));
    auto* texts = new QVBoxLayout;
    texts->setSpacing(0);
    texts->addWidget(makeLabel(u"DMG Created Successfully!"_s, Theme::Type::headline));
    texts->addWidget(new HelperText(u"Build Another or View Logs"_s));
    heading->addLayout(texts, 1);
    card->add(heading);
    m_image = new ImageRow(verdictEdge);
    card->add(m_image);

    auto* buttons = new QHBoxLayout;
    QPushButton* open = makeButton(u"Open Folder"_s, ButtonKind::secondary, u"folder"_s);
    connect(open, &QPushButton::clicked, this, &BuildView::openFolder);
    QPushButton* anew = makeButton(u"New Project"_s);
    connect(anew, &QPushButton::clicked, this, actions.startAnew);
    m_goOn = makeButton(u"Continue to Signing"_s, ButtonKind::primary, u"signature"_s);
    connect(m_goOn, &QPushButton::clicked, this, actions.goOn);
    buttons->addWidget(open);
    buttons->addWidget(anew);
    buttons->addStretch();
    buttons->addWidget(m_goOn);
    card->add(buttons);
    return card;
}

void BuildView::refresh()
{
    using Case = BuildStatus::Case;
    const BuildStatus& status = m_manager.status();
    const std::optional<QUrl>& application = m_job.config().appURL;
    m_application->setFullText(
        application ? lastPathComponent(*application) : u"No App Selected"_s);
    m_progress->setVisible(status.isBuilding());
    m_error->setVisible(status.which == Case::failed);
    m_errorText->setContent(status.text.isEmpty() ? u"Unknown Error"_s : status.text);
    m_completion->setVisible(status.which == Case::success);
    m_image->setImage(m_manager.image());
    if (status.isBuilding())
        swap(m_build, m_cancel, m_cancel);
    else
        swap(m_cancel, m_build, status.which == Case::success ? m_goOn : m_build);
    m_logs->setLog(m_manager.logs());
}

/// Shows one button in the place of another; who was on that one finds themselves on `heir`.
void BuildView::swap(QPushButton* leaving, QPushButton* coming, QPushButton* heir)
{
    coming->show();
    if (window()->focusWidget() == leaving)
        heir->setFocus();
    leaving->hide();
}

void BuildView::followStep(const QString& message)
{
    m_step->setFullText(message.simplified());
    m_bar->setRange(0, 0);
}

void BuildView::followShare(double share)
{
    constexpr int whole = 1000;
    m_bar->setRange(0, whole);
    m_bar->setValue(std::max(m_bar->value(), static_cast<int>(share * whole)));
}

void BuildView::chooseOutput()
{
    if (m_manager.status().isBuilding())
        return;
    const FilePicker::SaveRequest request{u"Save Disk Image"_s,
        withHomeFolder(m_settings.defaultOutputDirectory()),
        proposedOutputName(m_settings.namingTemplate(), m_job.config(), m_clock.now()),
        {u"Disk Image"_s, u"dmg"_s}};
    FilePicker::save(this, request, [this](const QUrl& location) {
        m_job.edit([&](DMGConfig& config) { config.outputURL = location; });
        m_manager.startBuild(m_job.config());
    });
}

void BuildView::openFolder()
{
    if (const std::optional<QUrl>& image = m_manager.image())
        QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(image->toLocalFile()).path()));
}
