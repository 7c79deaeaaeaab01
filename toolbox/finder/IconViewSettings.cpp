#include "finder/IconViewSettings.h"

#include "finder/PropertyFields.h"

#include <array>

namespace finder {

namespace {

template <typename Owner, typename Value>
struct NamedField {
    const char* key;
    Value Owner::*field;
};

constexpr std::array realKeys{
    NamedField<IconViewSettings, double>{"iconSize", &IconViewSettings::iconSize},
    NamedField<IconViewSettings, double>{"textSize", &IconViewSettings::textSize},
    NamedField<IconViewSettings, double>{"gridSpacing", &IconViewSettings::gridSpacing},
    NamedField<IconViewSettings, double>{"gridOffsetX", &IconViewSettings::gridOffsetX},
    NamedField<IconViewSettings, double>{"gridOffsetY", &IconViewSettings::gridOffsetY},
    NamedField<IconViewSettings, double>{"scrollPositionX", &IconViewSettings::scrollPositionX},
    NamedField<IconViewSettings, double>{"scrollPositionY", &IconViewSettings::scrollPositionY},
};

constexpr std::array switchKeys{
    NamedField<IconViewSettings, bool>{"labelOnBottom", &IconViewSettings::labelOnBottom},
    NamedField<IconViewSettings, bool>{"showIconPreview", &IconViewSettings::showIconPreview},
    NamedField<IconViewSettings, bool>{"showItemInfo", &IconViewSettings::showItemInfo},
};

constexpr std::array colourKeys{
    NamedField<Background, double>{"backgroundColorRed", &Background::red},
    NamedField<Background, double>{"backgroundColorGreen", &Background::green},
    NamedField<Background, double>{"backgroundColorBlue", &Background::blue},
};

const std::string typeKey = "backgroundType";
const std::string aliasKey = "backgroundImageAlias";
const std::string arrangementKey = "arrangeBy";
const std::string versionKey = "viewOptionsVersion";

Background readBackground(const PropertyDictionary& dictionary)
{
    Background background;
    auto kind = static_cast<int64_t>(background.kind);
    takeProperty(dictionary, typeKey, kind);
    if (kind < 0 || kind > static_cast<int64_t>(Background::Kind::picture))
        throw bytes::FormatError("no background is of the type " + std::to_string(kind));
    background.kind = static_cast<Background::Kind>(kind);
    for (const auto& row : colourKeys)
        takeProperty(dictionary, row.key, background.*row.field);
    if (background.kind == Background::Kind::picture)
        takeProperty(dictionary, aliasKey, background.alias);
    return background;
}

} // namespace

std::vector<std::byte> writeIconViewSettings(const IconViewSettings& settings)
{
    const Background& background = settings.background;
    PropertyDictionary dictionary;
    dictionary[versionKey] = int64_t{1};
    dictionary[typeKey] = static_cast<int64_t>(background.kind);
    dictionary[arrangementKey] = settings.arrangeBy;
    for (const auto& row : colourKeys)
        dictionary[row.key] = background.*row.field;
    for (const auto& row : realKeys)
        dictionary[row.key] = settings.*row.field;
    for (const auto& row : switchKeys)
        dictionary[row.key] = settings.*row.field;
    if (background.kind == Background::Kind::picture && !background.alias.empty())
        dictionary[aliasKey] = background.alias;
    return writePropertyList(dictionary);
}

IconViewSettings readIconViewSettings(std::span<const std::byte> blob)
{
    const PropertyDictionary dictionary = readPropertyList(blob);
    IconViewSettings settings;
    settings.background = readBackground(dictionary);
    takeProperty(dictionary, arrangementKey, settings.arrangeBy);
    for (const auto& row : realKeys)
        takeProperty(dictionary, row.key, settings.*row.field);
    for (const auto& row : switchKeys)
        takeProperty(dictionary, row.key, settings.*row.field);
    return settings;
}

} // namespace finder
