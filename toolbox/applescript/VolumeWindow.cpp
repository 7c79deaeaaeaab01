#include "applescript/VolumeWindow.h"

#include "applescript/Coercion.h"
#include "bytes/FormatError.h"
#include "finder/StoreFile.h"
#include "hfsplus/Names.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <system_error>

namespace applescript {

namespace fs = std::filesystem;

namespace {

using Outcome = VolumeWindow::Outcome;
using finder::IconViewSettings;
using finder::WindowSettings;

// The limits of the panel with the view options.
constexpr int64_t smallestIcon = 16, largestIcon = 512;
constexpr int64_t smallestText = 10, largestText = 16;
constexpr int64_t widestSidebar = 10'000;

template <typename Stored>
struct EnumeratorRow {
    TermID term;
    Stored stored;
};

// A gallery has no code that stores are known to hold.
constexpr std::array views{
    EnumeratorRow<finder::FourCC>{TermID::iconView, "icnv"},
    EnumeratorRow<finder::FourCC>{TermID::listView, "Nlsv"},
    EnumeratorRow<finder::FourCC>{TermID::columnView, "clmv"},
    EnumeratorRow<finder::FourCC>{TermID::flowView, "Flwv"},
};

constexpr std::array arrangements{
    EnumeratorRow<std::string_view>{TermID::notArranged, "none"},
    EnumeratorRow<std::string_view>{TermID::snapToGrid, "grid"},
    EnumeratorRow<std::string_view>{TermID::arrangedByName, "name"},
    EnumeratorRow<std::string_view>{TermID::arrangedByModificationDate, "dateModified"},
    EnumeratorRow<std::string_view>{TermID::arrangedByCreationDate, "dateCreated"},
    EnumeratorRow<std::string_view>{TermID::arrangedBySize, "size"},
    EnumeratorRow<std::string_view>{TermID::arrangedByKind, "kind"},
    EnumeratorRow<std::string_view>{TermID::arrangedByLabel, "label"},
};

constexpr std::array labelPositions{
    EnumeratorRow<bool>{TermID::bottom, true},
    EnumeratorRow<bool>{TermID::right, false},
};

template <typename Rows, typename Field>
Outcome setFromTable(const Rows& rows, const Value& value, Field& field)
{
    const auto* enumerator = value.as<Enumerator>();
    for (const auto& row : rows) {
        if (enumerator && row.term == enumerator->id) {
            field = row.stored;
            return Outcome::accepted;
        }
    }
    return Outcome::refused;
}

template <typename Rows, typename Stored>
Value valueInTable(const Rows& rows, const Stored& stored)
{
    for (const auto& row : rows) {
        if (row.stored == stored)
            return Enumerator{row.term};
    }
    return Enumerator{rows.front().term};
}

Outcome setBoolean(const Value& value, bool& field)
{
    const auto* flag = value.as<bool>();
    if (!flag)
        return Outcome::refused;
    field = *flag;
    return Outcome::accepted;
}

template <typename Field>
Outcome setWithin(const Value& value, int64_t smallest, int64_t largest, Field& field)
{
    const auto number = wholeNumber(value);
    if (!number || *number < smallest || *number > largest)
        return Outcome::refused;
    field = static_cast<Field>(*number);
    return Outcome::accepted;
}

// As many whole numbers as the array takes, each of 32 bits.
template <std::size_t count>
std::optional<std::array<int32_t, count>> numbersIn(const Value& value)
{
    const auto* list = value.as<List>();
    if (!list || list->items().size() != count)
        return std::nullopt;
    std::array<int32_t, count> numbers{};
    for (std::size_t i = 0; i < count; ++i) {
        if (setWithin(list->items()[i], INT32_MIN, INT32_MAX, numbers[i]) != Outcome::accepted)
            return std::nullopt;
    }
    return numbers;
}

Value whole(double number)
{
    return static_cast<int64_t>(std::llround(number));
}

// A colour of a script has 16 bits for each of its parts.
constexpr double fullColour = 65535;

Outcome setColour(const Value& value, finder::Background& background)
{
    const auto parts = numbersIn<3>(value);
    if (!parts)
        return Outcome::refused;
    for (const int32_t part : *parts) {
        if (part < 0 || part > fullColour)
            return Outcome::refused;
    }
    background = {finder::Background::Kind::colour, (*parts)[0] / fullColour,
        (*parts)[1] / fullColour, (*parts)[2] / fullColour, {}};
    return Outcome::accepted;
}

struct WindowBar {
    TermID term;
    bool WindowSettings::*field;
};
constexpr std::array windowBars{
    WindowBar{TermID::toolbarVisible, &WindowSettings::showToolbar},
    WindowBar{TermID::statusbarVisible, &WindowSettings::showStatusBar},
    WindowBar{TermID::pathbarVisible, &WindowSettings::showPathbar},
};

finder::DesktopStore storeIn(const fs::path& folder)
{
    std::error_code error;
    if (!fs::is_regular_file(fs::symlink_status(folder / ".DS_Store", error)))
        return {};
    try {
        return finder::readStoreOf(folder);
    } catch (const bytes::FormatError&) {
        return {};
    }
}

// For files that the volume's catalog doesn't hold yet.
uint32_t hostDateOf(const fs::path& file)
{
    std::error_code error;
    const auto time = fs::last_write_time(file, error);
    if (error)
        return 0;
    const auto unix = std::chrono::file_clock::to_sys(time).time_since_epoch();
    constexpr int64_t secondsFrom1904To1970 = 2082844800;
    return static_cast<uint32_t>(
        std::chrono::duration_cast<std::chrono::seconds>(unix).count() + secondsFrom1904To1970);
}

// A volume's header has its creation in local time, the catalog has the root folder's in UTC; where
// both were made at once the difference is a time zone.
int32_t zoneBetween(uint32_t utc, uint32_t local)
{
    constexpr int64_t quarterHour = 900, widest = 14 * 3600;
    const int64_t difference = int64_t{local} - utc;
    const bool isZone = difference % quarterHour == 0 && std::abs(difference) <= widest;
    return isZone ? static_cast<int32_t>(difference) : 0;
}

} // namespace

VolumeWindow::VolumeWindow(const MountedVolume& volume)
    : m_volume(&volume)
    , m_store(storeIn(volume.folder))
    , m_style(finder::VolumeWindowStyle::readFrom(m_store))
{ }

void VolumeWindow::open(int64_t id)
{
    if (!isOpen())
        m_id = id;
}

std::optional<Value> VolumeWindow::windowProperty(TermID property) const
{
    for (const WindowBar& bar : windowBars) {
        if (bar.term == property)
            return m_style.window.*bar.field;
    }
    switch (property) {
    case TermID::name:
        return m_volume->name;
    case TermID::currentView:
        return valueInTable(views, m_style.view);
    case TermID::sidebarWidth:
        return m_style.window.sidebarWidth;
    case TermID::bounds: {
        const finder::ScreenRectangle bounds = m_style.bounds();
        return List{
            {whole(bounds.left), whole(bounds.top), whole(bounds.right), whole(bounds.bottom)}};
    }
    default:
        return std::nullopt;
    }
}

VolumeWindow::Outcome VolumeWindow::setWindowProperty(TermID property, const Value& value)
{
    Outcome outcome = Outcome::noSuchProperty;
    for (const WindowBar& bar : windowBars) {
        if (bar.term == property)
            outcome = setBoolean(value, m_style.window.*bar.field);
    }
    if (property == TermID::name) {
        outcome = Outcome::readOnly;
    } else if (property == TermID::currentView) {
        outcome = setFromTable(views, value, m_style.view);
    } else if (property == TermID::sidebarWidth) {
        outcome = setWithin(value, 0, widestSidebar, m_style.window.sidebarWidth);
    } else if (property == TermID::bounds) {
        const auto edges = numbersIn<4>(value);
        if (!edges || (*edges)[2] <= (*edges)[0] || (*edges)[3] <= (*edges)[1])
            return Outcome::refused;
        const auto [left, top, right, bottom] = *edges;
        m_style.setBounds({double(left), double(top), double(right), double(bottom)});
        outcome = Outcome::accepted;
    }
    m_changed = m_changed || outcome == Outcome::accepted;
    return outcome;
}

std::optional<Value> VolumeWindow::viewOption(TermID property) const
{
    const IconViewSettings& icons = m_style.icons;
    switch (property) {
    case TermID::arrangement:
        return valueInTable(arrangements, icons.arrangeBy);
    case TermID::iconSize:
        return whole(icons.iconSize);
    case TermID::textSize:
        return whole(icons.textSize);
    case TermID::labelPosition:
        return valueInTable(labelPositions, icons.labelOnBottom);
    case TermID::showsItemInfo:
        return icons.showItemInfo;
    case TermID::showsIconPreview:
        return icons.showIconPreview;
    case TermID::backgroundColor: {
        const finder::Background& background = icons.background;
        return List{{whole(background.red * fullColour), whole(background.green * fullColour),
            whole(background.blue * fullColour)}};
    }
    case TermID::backgroundPicture: {
        if (icons.background.kind != finder::Background::Kind::picture)
            return MissingValue{};
        try {
            const auto alias = finder::readAlias(icons.background.alias);
            return PosixFile{m_volume->mountPoint + alias.path};
        } catch (const bytes::FormatError&) {
            return MissingValue{};
        }
    }
    default:
        return std::nullopt;
    }
}

VolumeWindow::Outcome VolumeWindow::setViewOption(TermID property, const Value& value)
{
    IconViewSettings& icons = m_style.icons;
    Outcome outcome = Outcome::noSuchProperty;
    if (property == TermID::arrangement)
        outcome = setFromTable(arrangements, value, icons.arrangeBy);
    else if (property == TermID::iconSize)
        outcome = setWithin(value, smallestIcon, largestIcon, icons.iconSize);
    else if (property == TermID::textSize)
        outcome = setWithin(value, smallestText, largestText, icons.textSize);
    else if (property == TermID::labelPosition)
        outcome = setFromTable(labelPositions, value, icons.labelOnBottom);
    else if (property == TermID::showsItemInfo)
        outcome = setBoolean(value, icons.showItemInfo);
    else if (property == TermID::showsIconPreview)
        outcome = setBoolean(value, icons.showIconPreview);
    else if (property == TermID::backgroundColor)
        outcome = setColour(value, icons.background);
    m_changed = m_changed || outcome == Outcome::accepted;
    return outcome;
}

finder::AliasTarget VolumeWindow::aliasTargetOf(const VolumeFile& file) const
{
    const auto identityOf = [this](const std::string& path) -> std::optional<ItemIdentity> {
        try {
            return m_volume->identityOf ? m_volume->identityOf(path) : std::nullopt;
        } catch (const std::exception&) {
            return std::nullopt; // ids only speed a Mac's search up; names and path find the file
        }
    };
    finder::AliasTarget target;
    target.volumeName = m_volume->name;
    target.volumeCreated = m_volume->createDate;
    target.path = '/' + file.path;
    if (const auto root = identityOf(""))
        target.zone = zoneBetween(root->createDate, target.volumeCreated);
    const auto identity = identityOf(file.path);
    target.created = identity ? identity->createDate : hostDateOf(file.host);
    if (!identity)
        return target;
    for (fs::path folder = fs::path{file.path}.parent_path(); !folder.empty();
         folder = folder.parent_path()) {
        const auto above = identityOf(folder.string());
        if (!above) {
            target.folderIDs.clear();
            return target;
        }
        target.folderIDs.push_back(above->id);
    }
    target.id = identity->id;
    return target;
}

VolumeWindow::Outcome VolumeWindow::setPicture(const VolumeFile& picture)
{
    try {
        m_style.setBackground(finder::aliasTo(aliasTargetOf(picture)));
    } catch (const bytes::FormatError&) {
        return Outcome::refused; // a path that no alias record can hold
    }
    m_changed = true;
    return Outcome::accepted;
}

void VolumeWindow::removePicture()
{
    m_style.removeBackground();
    m_changed = true;
}

Value VolumeWindow::positionOf(const VolumeFile& item) const
{
    for (const auto& [name, place] : m_style.positions) {
        if (VolumeFiles::sameName(hfsplus::hostFromName(name), item.name()))
            return List{{int64_t{place.x}, int64_t{place.y}}};
    }
    return List{{-1, -1}};
}

VolumeWindow::Outcome VolumeWindow::setPosition(const VolumeFile& item, const Value& position)
{
    const auto point = numbersIn<2>(position);
    if (!point || m_style.view != finder::FourCC{"icnv"})
        return Outcome::refused;
    m_style.setPosition(item.name(), {(*point)[0], (*point)[1]});
    m_changed = true;
    return Outcome::accepted;
}

void VolumeWindow::save()
{
    if (!m_changed)
        return;
    m_style.applyTo(m_store);
    if (m_volume->writable)
        finder::writeStoreOf(m_volume->folder, m_store);
    m_changed = false;
}

} // namespace applescript
