#include "model/IconLayout.h"

#include <QLatin1String>

namespace {

struct Row {
    IconLayout layout;
    QLatin1String displayName;
    std::optional<IconPlaces> places;
};

constexpr Row rows[] = {
    {IconLayout::centered, QLatin1String("Centered"), IconPlaces{0.33, 0.66, 0.5}},
    {IconLayout::classic, QLatin1String("Classic (Side-by-Side)"), IconPlaces{0.23, 0.77, 0.5}},
    {IconLayout::custom, QLatin1String("Custom"), std::nullopt},
};

} // namespace

QString rawValue(IconLayout layout)
{
    return rows[static_cast<size_t>(layout)].displayName;
}

std::optional<IconLayout> iconLayoutFromRawValue(const QString& text)
{
    for (const Row& row : rows) {
        if (text == row.displayName)
            return row.layout;
    }
    return std::nullopt;
}

std::optional<IconPlaces> placesOf(IconLayout layout)
{
    return rows[static_cast<size_t>(layout)].places;
}
