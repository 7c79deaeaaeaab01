#include "wizard/NavigationManager.h"

#include "model/SettingsManager.h"
#include "platform/MainQueue.h"

#include <QPointer>

NavigationManager::NavigationManager(SettingsManager& settings, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
{
    updateActiveSteps();
    // Another process may have changed the one that counts; any change is a moment to look.
    using Settings = SettingsManager;
    for (const auto changed : {&Settings::activeSectionChanged,
             &Settings::defaultOutputDirectoryChanged, &Settings::skipAppValidationChanged,
             &Settings::namingTemplateChanged, &Settings::defaultCompressionChanged,
             &Settings::defaultWindowWidthChanged, &Settings::defaultWindowHeightChanged,
             &Settings::totalBuildsChanged, &Settings::notaryAppleIDChanged,
             &Settings::notaryTeamIDChanged, &Settings::notaryProfileNameChanged})
        connect(&settings, changed, this, &NavigationManager::refreshLater);
}

void NavigationManager::refreshLater()
{
    // The setting may not be stored yet when its change is announced.
    MainQueue::post([manager = QPointer(this)] {
        if (manager)
            manager->refreshSteps();
    });
}

void NavigationManager::updateActiveSteps()
{
    const bool skips = m_settings.skipAppValidation();
    QList<NavigationStep> steps;
    for (const NavigationStep step : allNavigationSteps) {
        if (!skips || !isAppValidation(step))
            steps.append(step);
    }
    if (steps == m_activeSteps)
        return;
    m_activeSteps = std::move(steps);
    emit activeStepsChanged();
}

void NavigationManager::refreshSteps()
{
    updateActiveSteps();
    if (!m_currentStep)
        return;
    const auto step = navigationStepFromRawValue(*m_currentStep);
    if (!step || !m_activeSteps.contains(*step))
        assignCurrentStep(rawValue(NavigationStep::assets));
}

std::optional<NavigationStep> NavigationManager::nextStep(int after) const
{
    const auto step = navigationStepFromRawValue(after);
    const qsizetype at = step ? m_activeSteps.indexOf(*step) : -1;
    if (at < 0 || at + 1 >= m_activeSteps.size())
        return std::nullopt;
    return m_activeSteps[at + 1];
}

std::optional<NavigationStep> NavigationManager::previousStep(int before) const
{
    const auto step = navigationStepFromRawValue(before);
    const qsizetype at = step ? m_activeSteps.indexOf(*step) : -1;
    if (at <= 0)
        return std::nullopt;
    return m_activeSteps[at - 1];
}

void NavigationManager::setCurrentStep(std::optional<int> step)
{
    if (step == m_currentStep)
        return;
    MainQueue::post([manager = QPointer(this), step] {
        if (manager)
            manager->assignCurrentStep(step);
    });
}

void NavigationManager::completeCurrentStep()
{
    if (!m_currentStep)
        return;
    const auto next = nextStep(*m_currentStep);
    raiseMaxStepReached(next ? rawValue(*next) : *m_currentStep + 1);
}

void NavigationManager::raiseMaxStepReached(int step)
{
    assignMaxStepReached(qMax(m_maxStepReached, step));
}

void NavigationManager::reset()
{
    assignCurrentStep(rawValue(NavigationStep::assets));
    lockAfterFirstStep();
}

void NavigationManager::lockAfterFirstStep()
{
    assignMaxStepReached(rawValue(NavigationStep::assets));
}

void NavigationManager::assignCurrentStep(std::optional<int> step)
{
    if (step == m_currentStep)
        return;
    m_currentStep = step;
    emit currentStepChanged();
}

void NavigationManager::assignMaxStepReached(int step)
{
    if (step == m_maxStepReached)
        return;
    m_maxStepReached = step;
    emit maxStepReachedChanged();
}
