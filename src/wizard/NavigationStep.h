#pragma once

#include <QString>

#include <array>
#include <optional>

/// The steps of the wizard. The raw value is a step's identity and place.
enum class NavigationStep {
    assets,
    appSigning,
    appNotarization,
    configuration,
    build,
    signing,
    notarization,
    distribution,
};

inline constexpr std::array allNavigationSteps{NavigationStep::assets, NavigationStep::appSigning,
    NavigationStep::appNotarization, NavigationStep::configuration, NavigationStep::build,
    NavigationStep::signing, NavigationStep::notarization, NavigationStep::distribution};

constexpr int rawValue(NavigationStep step)
{
    return static_cast<int>(step);
}

/// Nothing for a value outside 0 to 7.
std::optional<NavigationStep> navigationStepFromRawValue(int value);
/// As the sidebar shows it.
QString titleOf(NavigationStep step);
QString symbolOf(NavigationStep step);
/// Those that are about the application itself can be left out.
bool isAppValidation(NavigationStep step);
