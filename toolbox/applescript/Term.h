#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace applescript {

/// What the words of the Finder's dictionary name (and AppleScript's own classes, which a script
/// writes after `as`).
enum class TermID : uint8_t {
    // classes; some are properties as well
    alias,
    aliasFile,
    application,
    applicationFile,
    container,
    disk,
    file,
    finderWindow,
    folder,
    item,
    window,
    boolean,
    integer,
    list,
    number,
    real,
    string,
    text,
    unicodeText,
    // properties
    arrangement,
    backgroundColor,
    backgroundPicture,
    bounds,
    computerContainer,
    containerWindow,
    currentView,
    iconSize,
    iconViewOptions,
    labelPosition,
    name,
    pathbarVisible,
    position,
    showsIconPreview,
    showsItemInfo,
    sidebarWidth,
    statusbarVisible,
    target,
    textSize,
    toolbarVisible,
    // enumerators
    iconView,
    listView,
    columnView,
    groupView,
    flowView,
    notArranged,
    snapToGrid,
    arrangedByName,
    arrangedByModificationDate,
    arrangedByCreationDate,
    arrangedBySize,
    arrangedByKind,
    arrangedByLabel,
    right,
    bottom,
    none,
    // commands
    activate,
    close,
    delay,
    exists,
    open,
    update,
    // parameters of commands
    necessity,
    registeringApplications,
};

/// One row of the dictionary. A word may play two roles: `container` is a class and a property.
struct Term {
    enum Role : uint8_t {
        isClass = 1,
        isProperty = 2,
        isEnumerator = 4,
        isCommand = 8,
        isParameter = 16
    };

    TermID id;
    std::string_view words; // lower case but for proper names, one blank between words
    uint8_t roles;
    std::string_view code; // four-character code; empty for AppleScript's own classes

    bool has(Role role) const { return (roles & role) != 0; }
};

/// All terms. The rows outlive everything: tokens, trees and values point at them.
std::span<const Term> dictionary();
const Term& term(TermID id);

} // namespace applescript
