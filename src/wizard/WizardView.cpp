#include "wizard/WizardView.h"

#include "model/SettingsManager.h"
#include "platform/IcnsFile.h"
#include "platform/Icons.h"
#include "platform/WorkUnderWay.h"
#include "views/AppNotarizationView.h"
#include "views/AppSigningView.h"
#include "views/BuildView.h"
#include "views/Buttons.h"
#include "views/DistributionView.h"
#include "views/Labels.h"
#include "views/NotarizationView.h"
#include "views/Panel.h"
#include "views/Sheet.h"
#include "views/SideList.h"
#include "views/SigningView.h"
#include "views/Symbol.h"
#include "views/TabStops.h"
#include "views/WayBack.h"
#include "wizard/AssetSelectionView.h"
#include "wizard/ConfigurationView.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QShortcut>
#include <QSplitter>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int narrowestSidebar = 240;
constexpr int widestSidebar = 300;
constexpr int iconEdge = 64;

QLabel* makeIcon(IconService& icons)
{
    const std::optional<Icon> icon = icons.resource(u"AppIcon"_s);
    if (!icon)
        return new SymbolLabel(u"cube.box.fill"_s, Theme::Colour::cyan, iconEdge);
    constexpr int sharpest = 3; // pixels a point
    QPixmap picture = QPixmap::fromImage(IcnsFile::image(icon->icns, iconEdge * sharpest));
    auto* label = new QLabel;
    label->setFixedSize(iconEdge, iconEdge);
    label->setScaledContents(true);
    label->setPixmap(picture);
    return label;
}

} // namespace

WizardView::WizardView(WizardHost host, QWidget* parent)
    : QWidget(parent)
    , m_host(std::move(host))
    , m_job(m_host.build.settings)
    , m_navigation(m_host.build.settings)
    , m_build(m_host.build)
    , m_signing(m_host.signing)
    , m_notarization(m_host.notarization)
    , m_verification(m_host.signing.shell)
    , m_appNotarization(m_host.notarization)
    , m_smartSkip({m_job, m_navigation, m_signing, m_appNotarization, m_host.build.settings,
          m_host.inspector})
{
    setFocusPolicy(Qt::ClickFocus); // for its keys; there is nothing to tab to
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto* columns = new QSplitter;
    columns->setHandleWidth(1);
    m_sidebar = makeSidebar();
    columns->addWidget(m_sidebar);
    columns->addWidget(makeDetail());
    columns->setStretchFactor(1, 1);
    columns->setChildrenCollapsible(false);
    layout->addWidget(columns);
    connectManagers();
    rebuildSteps();
    showCurrentScreen();
}

QWidget* WizardView::makeSidebar()
{
    auto* sidebar = new Panel(Theme::Colour::sidebar);
    sidebar->setMinimumWidth(narrowestSidebar);
    sidebar->setMaximumWidth(widestSidebar);
    auto* layout = new QVBoxLayout(sidebar);
    layout->setContentsMargins(
        Theme::Space::small, Theme::Space::large, Theme::Space::small, Theme::Space::medium);
    auto* header = new QHBoxLayout;
    header->setContentsMargins(Theme::Space::tight, 0, 0, 0); // in line with the steps' symbols
    header->setSpacing(Theme::Space::small);
    header->addWidget(makeIcon(m_host.build.icons));
    QLabel* title = makeLabel(u"Vandor DMG"_s, Theme::Type::headline);
    QFont bold = title->font();
    bold.setWeight(QFont::Bold);
    title->setFont(bold);
    header->addWidget(title, 1);
    layout->addLayout(header);
    layout->addSpacing(Theme::Space::medium);

    m_steps = new SideList(u"Steps"_s);
    layout->addWidget(m_steps, 1);

    QPushButton* fresh = makeButton(u"New Project"_s, ButtonKind::plain);
    connect(fresh, &QPushButton::clicked, this, &WizardView::reset);
    QPushButton* settings = makeButton(u"Settings"_s, ButtonKind::plain, u"gearshape.fill"_s);
    connect(settings, &QPushButton::clicked, this, m_host.openSettings);
    auto* footer = new QVBoxLayout;
    footer->setContentsMargins(Theme::Space::tight, 0, 0, 0);
    footer->addWidget(fresh, 0, Qt::AlignLeft);
    footer->addWidget(settings, 0, Qt::AlignLeft);
    layout->addLayout(footer);
    return sidebar;
}

QWidget* WizardView::makeDetail()
{
    auto* detail = new QWidget;
    m_detail = new QVBoxLayout(detail);
    m_detail->setContentsMargins(0, 0, 0, 0);
    m_detail->setSpacing(0);
    m_bottomBar = makeBottomBar();
    m_detail->addWidget(m_bottomBar);
    return detail;
}

QWidget* WizardView::makeBottomBar()
{
    auto* bar = new Panel(Theme::Colour::sidebar);
    auto* layout = new QHBoxLayout(bar);
    layout->setContentsMargins(
        Theme::Space::page, Theme::Space::medium, Theme::Space::page, Theme::Space::medium);
    m_back = makeButton(u"Back"_s);
    m_back->setToolTip(WayBack::key().toString(QKeySequence::NativeText));
    connect(m_back, &QPushButton::clicked, this, &WizardView::goBack);
    // Also from sliders and pickers, which have their own use for the arrow; fields for text keep
    // it.
    auto* wayBack = new QShortcut(WayBack::key(), this);
    wayBack->setContext(Qt::WidgetWithChildrenShortcut);
    connect(wayBack, &QShortcut::activated, this, &WizardView::goBack);
    m_inspection = new ElidedLabel(Theme::Type::caption);
    Theme::style(*m_inspection, Theme::Type::caption, Theme::Colour::secondary);
    m_inspection->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    constexpr int trailingPadding = 10;
    m_inspection->setContentsMargins(0, 0, trailingPadding, 0);
    m_next = makeButton(u"Next"_s, ButtonKind::primary);
    connect(m_next, &QPushButton::clicked, this, &WizardView::goNext);
    layout->addWidget(m_back);
    layout->addWidget(m_inspection, 1);
    layout->addWidget(m_next);
    bar->setFixedHeight(bar->sizeHint().height()); // the same with and without its buttons
    return bar;
}

void WizardView::connectManagers()
{
    connect(m_steps, &SideList::chosen, this, [this](int index) {
        m_navigation.setCurrentStep(rawValue(m_navigation.activeSteps()[index]));
    });
    connect(&m_navigation, &NavigationManager::activeStepsChanged, this, [this] {
        rebuildSteps();
        refresh();
    });
    connect(&m_navigation, &NavigationManager::currentStepChanged, this,
        &WizardView::showCurrentScreen);
    connect(&m_navigation, &NavigationManager::maxStepReachedChanged, this, &WizardView::refresh);
    connect(&m_job, &ConfigWrapper::configChanged, this, &WizardView::refresh);
    connect(&m_job, &ConfigWrapper::configChanged, this, &WizardView::followImage);
    connect(&m_build, &BuildManager::statusChanged, this, &WizardView::followImage);
    connect(&m_smartSkip, &SmartSkip::smartSkipReadyChanged, this, &WizardView::refresh);
    connect(&m_smartSkip, &SmartSkip::inspectionStatusChanged, this, &WizardView::refresh);
    connect(&m_notarization, &NotarizationState::notarizationSuccessChanged, this,
        &WizardView::imageNotarized);
}

void WizardView::rebuildSteps()
{
    m_steps->clear();
    for (const NavigationStep step : m_navigation.activeSteps())
        m_steps->addRow(titleOf(step), symbolOf(step));
    refreshSteps();
}

void WizardView::refreshSteps()
{
    const QList<NavigationStep>& steps = m_navigation.activeSteps();
    int current = -1;
    for (qsizetype i = 0; i < steps.size(); ++i) {
        SideRow& row = *m_steps->rows()[i];
        row.setEnabled(rawValue(steps[i]) <= m_navigation.maxStepReached());
        const bool isSkipped = isAppValidation(steps[i]) && m_smartSkip.smartSkipReady();
        row.setCaption(isSkipped ? u"(Skipped)"_s : QString());
        if (m_navigation.currentStep() == rawValue(steps[i]))
            current = static_cast<int>(i);
    }
    m_steps->setCurrent(current);
}

void WizardView::refresh()
{
    refreshSteps();
    const std::optional<int>& step = m_navigation.currentStep();
    m_back->setVisible(backTarget().has_value());
    m_next->setVisible(nextTarget().has_value());
    m_next->setEnabled(step && m_job.config().appURL);
    const bool showsInspection = !step || *step < rawValue(NavigationStep::configuration);
    m_inspection->setFullText(showsInspection ? m_smartSkip.inspectionStatus() : QString());
}

void WizardView::showCurrentScreen()
{
    const std::optional<int>& raw = m_navigation.currentStep();
    const auto step = raw ? navigationStepFromRawValue(*raw) : std::nullopt;
    if (m_screen) {
        m_screen->hide();
        m_screen->deleteLater(); // one of its own buttons may have led here
    }
    if (step) {
        m_screen = makeScreen(*step);
    } else {
        QLabel* none = makeLabel(u"Select a step"_s, Theme::Type::title, Theme::Colour::secondary);
        none->setAlignment(Qt::AlignCenter);
        m_screen = none;
    }
    m_detail->insertWidget(0, m_screen, 1);
    refresh();
    const QList<Sheet*> sheets = Sheet::openIn(window());
    for (Sheet* each : sheets) // they have the keys
        each->leaveFocusTo(this);
    if (sheets.isEmpty())
        setFocus();
}

QWidget* WizardView::makeScreen(NavigationStep step)
{
    const KeychainPrimerSheet::Host keychain{m_host.keychain, m_host.build.clock};
    switch (step) {
    case NavigationStep::assets:
        return new AssetSelectionView(m_job, m_host.fileIcons, m_host.assets);
    case NavigationStep::appSigning:
        return new AppSigningView(m_job, m_signing, keychain);
    case NavigationStep::appNotarization:
        return new AppNotarizationView(m_job, m_appNotarization, m_stop);
    case NavigationStep::configuration:
        return new ConfigurationView(m_job, m_host.fileIcons);
    case NavigationStep::build:
        return new BuildView(m_job, m_build, m_host.build.settings, m_host.build.clock,
            {[this] { goNext(); }, [this] { reset(); }});
    case NavigationStep::signing:
        return new SigningView(m_job, m_signing, keychain, m_stop);
    case NavigationStep::notarization:
        return new NotarizationView(m_job, m_notarization, m_stop);
    case NavigationStep::distribution:
        return new DistributionView(m_job, m_verification, [this] { reset(); });
    }
    Q_UNREACHABLE();
}

std::optional<NavigationStep> WizardView::nextTarget() const
{
    const std::optional<int>& step = m_navigation.currentStep();
    if (!step)
        return std::nullopt;
    if (*step == rawValue(NavigationStep::assets) && m_smartSkip.smartSkipReady())
        return NavigationStep::configuration;
    return m_navigation.nextStep(*step);
}

std::optional<NavigationStep> WizardView::backTarget() const
{
    const std::optional<int>& step = m_navigation.currentStep();
    return step ? m_navigation.previousStep(*step) : std::nullopt;
}

void WizardView::goNext()
{
    const auto target = nextTarget();
    if (!target || !m_job.config().appURL)
        return;
    m_navigation.completeCurrentStep();
    m_navigation.raiseMaxStepReached(rawValue(*target));
    m_navigation.setCurrentStep(rawValue(*target));
}

void WizardView::goBack()
{
    if (const auto target = backTarget())
        m_navigation.setCurrentStep(rawValue(*target));
}

void WizardView::imageNotarized()
{
    if (!m_notarization.notarizationSuccess())
        return;
    m_navigation.completeCurrentStep();
    m_navigation.raiseMaxStepReached(rawValue(NavigationStep::distribution));
    showDistribution();
}

/// Once the screen has its answers: a question, such as where to save, would go with it.
void WizardView::showDistribution()
{
    if (!m_notarization.notarizationSuccess())
        return; // the answer was to build another
    for (const QDialog* each : m_screen->findChildren<QDialog*>()) {
        if (each->isVisible()) {
            connect(each, &QDialog::finished, this, &WizardView::showDistribution,
                Qt::ConnectionType(Qt::QueuedConnection | Qt::SingleShotConnection));
            return;
        }
    }
    m_navigation.setCurrentStep(rawValue(NavigationStep::distribution));
}

/// What was notarized was another image, or what this one was before it is built anew.
void WizardView::followImage()
{
    const std::optional<QUrl> image = m_job.config().outputURL;
    const bool isAnother = std::exchange(m_image, image) != image;
    if ((isAnother || m_build.status().isBuilding()) && !m_notarization.isProcessing())
        m_notarization.setNotarizationSuccess(false);
}

void WizardView::reset()
{
    setFocus(); // what is still being typed is the old job's
    m_job.reset();
    m_navigation.reset();
    m_build.clear();
    m_signing.clear();
    m_notarization.clear();
    m_verification.clear();
    m_appNotarization.clear();
    m_smartSkip.reset();
}

void WizardView::setSidebarVisible(bool visible)
{
    m_sidebar->setVisible(visible);
}

bool WizardView::isBusy() const
{
    return m_build.status().isBuilding() || m_signing.isSigning() || m_signing.isAppSigning()
        || m_notarization.isProcessing() || m_appNotarization.isProcessing() || WorkUnderWay::any();
}

void WizardView::stopWork()
{
    m_build.stop();
    m_stop->request();
    m_host.interruptTools();
}

void WizardView::keyPressEvent(QKeyEvent* event)
{
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const bool isAlone = (event->modifiers() & ~Qt::KeypadModifier) == 0;
    if (isReturn && isAlone && !event->isAutoRepeat()) // a key held down leads one step on
        goNext();
    else
        QWidget::keyPressEvent(event);
}

bool WizardView::focusNextPrevChild(bool next)
{
    TabStops::move({m_screen, m_bottomBar, m_sidebar}, focusWidget(), next);
    return true;
}
