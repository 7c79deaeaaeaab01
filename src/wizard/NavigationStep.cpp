#include "wizard/NavigationStep.h"

using namespace Qt::StringLiterals;

namespace {

struct Row {
    QLatin1StringView title;
    QLatin1StringView symbol;
};

/// By raw value.
constexpr std::array<Row, allNavigationSteps.size()> rows{{
    {"Assets"_L1, "photo.on.rectangle.angled"_L1},
    {"App Signing"_L1, "pencil.and.outline"_L1},
    {"App Notarization"_L1, "checkmark.seal.fill"_L1},
    {"Configuration"_L1, "gearshape"_L1},
    {"Build"_L1, "hammer"_L1},
    {"DMG Signing"_L1, "signature"_L1},
    {"DMG Notarization"_L1, "checkmark.seal"_L1},
    {"Distribution"_L1, "arrow.up.doc"_L1},
}};

const Row& rowOf(NavigationStep step)
{
    return rows[static_cast<size_t>(rawValue(step))];
}

} // namespace

std::optional<NavigationStep> navigationStepFromRawValue(int value)
{
    if (value < 0 || value >= static_cast<int>(allNavigationSteps.size()))
        return std::nullopt;
    return allNavigationSteps[static_cast<size_t>(value)];
}

QString titleOf(NavigationStep step)
{
    return rowOf(step).title;
}

QString symbolOf(NavigationStep step)
{
    return rowOf(step).symbol;
}

bool isAppValidation(NavigationStep step)
{
    return step == NavigationStep::appSigning || step == NavigationStep::appNotarization;
}
