#include "applescript/Term.h"

#include <cstddef>
#include <iterator>

namespace applescript {

namespace {

constexpr uint8_t classAndProperty = Term::isClass | Term::isProperty;

// In the order of TermID, so that a term is found by its index.
constexpr Term rows[] = {
    {TermID::alias, "alias", classAndProperty, ""},
    {TermID::aliasFile, "alias file", Term::isClass, "alia"},
    {TermID::application, "application", classAndProperty, ""},
    {TermID::applicationFile, "application file", Term::isClass, "appf"},
    {TermID::container, "container", classAndProperty, "ctnr"},
    {TermID::disk, "disk", classAndProperty, "cdis"},
    {TermID::file, "file", classAndProperty, ""},
    {TermID::finderWindow, "Finder window", Term::isClass, "brow"},
    {TermID::folder, "folder", Term::isClass, "cfol"},
    {TermID::item, "item", Term::isClass, ""},
    {TermID::window, "window", Term::isClass, ""},
    {TermID::boolean, "boolean", Term::isClass, ""},
    {TermID::integer, "integer", Term::isClass, ""},
    {TermID::list, "list", Term::isClass, ""},
    {TermID::number, "number", Term::isClass, ""},
    {TermID::real, "real", Term::isClass, ""},
    {TermID::string, "string", Term::isClass, ""},
    {TermID::text, "text", Term::isClass, ""},
    {TermID::unicodeText, "Unicode text", Term::isClass, ""},
    {TermID::arrangement, "arrangement", Term::isProperty, "iarr"},
    {TermID::backgroundColor, "background color", Term::isProperty, "colr"},
    {TermID::backgroundPicture, "background picture", Term::isProperty, "ibkg"},
    {TermID::bounds, "bounds", Term::isProperty, "pbnd"},
    {TermID::computerContainer, "computer container", Term::isProperty, "pcmp"},
    {TermID::containerWindow, "container window", Term::isProperty, "cwnd"},
    {TermID::currentView, "current view", Term::isProperty, "pvew"},
    {TermID::iconSize, "icon size", Term::isProperty, "lvis"},
    {TermID::iconViewOptions, "icon view options", Term::isProperty, "icop"},
    {TermID::labelPosition, "label position", Term::isProperty, "lpos"},
    {TermID::name, "name", Term::isProperty, ""},
    {TermID::pathbarVisible, "pathbar visible", Term::isProperty, "pbvi"},
    {TermID::position, "position", Term::isProperty, "posn"},
    {TermID::showsIconPreview, "shows icon preview", Term::isProperty, "prvw"},
    {TermID::showsItemInfo, "shows item info", Term::isProperty, "mnfo"},
    {TermID::sidebarWidth, "sidebar width", Term::isProperty, "sbwi"},
    {TermID::statusbarVisible, "statusbar visible", Term::isProperty, "stvi"},
    {TermID::target, "target", Term::isProperty, "fvtg"},
    {TermID::textSize, "text size", Term::isProperty, "fsiz"},
    {TermID::toolbarVisible, "toolbar visible", Term::isProperty, "tbvi"},
    {TermID::iconView, "icon view", Term::isEnumerator, "icnv"},
    {TermID::listView, "list view", Term::isEnumerator, "lsvw"},
    {TermID::columnView, "column view", Term::isEnumerator, "clvw"},
    {TermID::groupView, "group view", Term::isEnumerator, "gpvw"},
    {TermID::flowView, "flow view", Term::isEnumerator, "flvw"},
    {TermID::notArranged, "not arranged", Term::isEnumerator, "narr"},
    {TermID::snapToGrid, "snap to grid", Term::isEnumerator, "grda"},
    {TermID::arrangedByName, "arranged by name", Term::isEnumerator, "nama"},
    {TermID::arrangedByModificationDate, "arranged by modification date", Term::isEnumerator,
        "mdta"},
    {TermID::arrangedByCreationDate, "arranged by creation date", Term::isEnumerator, "cdta"},
    {TermID::arrangedBySize, "arranged by size", Term::isEnumerator, "siza"},
    {TermID::arrangedByKind, "arranged by kind", Term::isEnumerator, "kina"},
    {TermID::arrangedByLabel, "arranged by label", Term::isEnumerator, "laba"},
    {TermID::right, "right", Term::isEnumerator, "lrgt"},
    {TermID::bottom, "bottom", Term::isEnumerator, "lbot"},
    {TermID::none, "none", Term::isEnumerator, "none"},
    {TermID::activate, "activate", Term::isCommand, "actv"},
    {TermID::close, "close", Term::isCommand, "clos"},
    {TermID::delay, "delay", Term::isCommand, ""},
    {TermID::exists, "exists", Term::isCommand, "doex"},
    {TermID::open, "open", Term::isCommand, "odoc"},
    {TermID::update, "update", Term::isCommand, "fupd"},
    {TermID::necessity, "necessity", Term::isParameter, "nec?"},
    {TermID::registeringApplications, "registering applications", Term::isParameter, "reg?"},
};

constexpr bool rowsAreInOrder()
{
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        if (static_cast<std::size_t>(rows[i].id) != i)
            return false;
    }
    return true;
}
static_assert(rowsAreInOrder());

} // namespace

std::span<const Term> dictionary()
{
    return rows;
}

const Term& term(TermID id)
{
    return rows[static_cast<std::size_t>(id)];
}

} // namespace applescript
