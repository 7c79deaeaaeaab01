#pragma once

#include "wizard/NavigationStep.h"

#include <QList>
#include <QObject>

class SettingsManager;

/// Which steps there are, which is on screen, and how far the user may go. Main thread only.
/// Steps are known by their raw values.
class NavigationManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(std::optional<int> currentStep READ currentStep NOTIFY currentStepChanged)
    Q_PROPERTY(int maxStepReached READ maxStepReached NOTIFY maxStepReachedChanged)
    Q_PROPERTY(QList<NavigationStep> activeSteps READ activeSteps NOTIFY activeStepsChanged)

public:
    /// `settings` outlives this object.
    explicit NavigationManager(SettingsManager& settings, QObject* parent = nullptr);

    /// Nothing when no step is chosen.
    const std::optional<int>& currentStep() const { return m_currentStep; }
    /// The highest step that may be opened from the sidebar.
    int maxStepReached() const { return m_maxStepReached; }
    /// In the order of their raw values.
    const QList<NavigationStep>& activeSteps() const { return m_activeSteps; }

    std::optional<NavigationStep> nextStep(int after) const;
    std::optional<NavigationStep> previousStep(int before) const;

    /// Asks for a change of step, which comes on a later turn of the main loop.
    void setCurrentStep(std::optional<int> step);
    /// Unlocks what follows the current step.
    void completeCurrentStep();
    void raiseMaxStepReached(int step);
    /// Back to the first step, with nothing beyond it unlocked; at once.
    void reset();
    void lockAfterFirstStep();

    void updateActiveSteps();
    /// The list anew; a current step that is no longer in it gives way to the first.
    void refreshSteps();

signals:
    void currentStepChanged();
    void maxStepReachedChanged();
    void activeStepsChanged();

private:
    void refreshLater();
    void assignCurrentStep(std::optional<int> step);
    void assignMaxStepReached(int step);

    SettingsManager& m_settings;
    std::optional<int> m_currentStep;
    int m_maxStepReached = 0;
    QList<NavigationStep> m_activeSteps;
};
