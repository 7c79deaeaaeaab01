#include "wizard/NavigationManager.h"

#include "Scratch.h"
#include "model/SettingsManager.h"
#include "platform/UserDefaults.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class Navigation : public testing::Test {
public:
    static void turn() { QCoreApplication::processEvents(); }

    void goTo(NavigationStep step)
    {
        navigation.setCurrentStep(rawValue(step));
        turn();
    }

    Scratch scratch;
    UserDefaults defaults{scratch.path(u"app.plist"_s)};
    SettingsManager settings{defaults};
    NavigationManager navigation{settings};
};

} // namespace

TEST_F(Navigation, NeighboursAreThoseOfTheActiveSteps)
{
    struct Row {
        const char* what;
        bool skips;
        int step;
        std::optional<NavigationStep> next;
        std::optional<NavigationStep> previous;
    };
    const Row rows[] = {
        {"first", false, 0, NavigationStep::appSigning, std::nullopt},
        {"last", false, 7, std::nullopt, NavigationStep::notarization},
        {"first, without the application's steps", true, 0, NavigationStep::configuration,
            std::nullopt},
        {"after the steps left out", true, 3, NavigationStep::build, NavigationStep::assets},
        {"a step left out", true, 1, std::nullopt, std::nullopt},
        {"no step", false, 8, std::nullopt, std::nullopt},
    };
    for (const Row& row : rows) {
        settings.setSkipAppValidation(row.skips);
        turn();
        EXPECT_EQ(navigation.activeSteps().size(), row.skips ? 6 : 8) << row.what;
        EXPECT_EQ(navigation.nextStep(row.step), row.next) << row.what;
        EXPECT_EQ(navigation.previousStep(row.step), row.previous) << row.what;
    }
}

TEST_F(Navigation, AStepChangesOnALaterTurnAndGivesWayWhenItIsLeftOut)
{
    EXPECT_EQ(navigation.currentStep(), std::nullopt);
    navigation.setCurrentStep(rawValue(NavigationStep::appSigning));
    EXPECT_EQ(navigation.currentStep(), std::nullopt);
    turn();
    EXPECT_EQ(navigation.currentStep(), 1);

    settings.setSkipAppValidation(true);
    EXPECT_EQ(navigation.currentStep(), 1);
    turn();
    EXPECT_EQ(navigation.currentStep(), 0);
}

TEST_F(Navigation, CompletingUnlocksTheNextStepAndLocksNone)
{
    navigation.completeCurrentStep();
    EXPECT_EQ(navigation.maxStepReached(), 0);
    goTo(NavigationStep::distribution);
    navigation.completeCurrentStep();
    EXPECT_EQ(navigation.maxStepReached(), 8);
    goTo(NavigationStep::assets);
    navigation.completeCurrentStep();
    EXPECT_EQ(navigation.maxStepReached(), 8);
    navigation.reset();
    EXPECT_EQ(navigation.currentStep(), 0);
    EXPECT_EQ(navigation.maxStepReached(), 0);
}
