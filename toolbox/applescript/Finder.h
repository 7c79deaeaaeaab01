#pragma once

#include "applescript/Application.h"
#include "applescript/MountedVolume.h"
#include "applescript/VolumeFiles.h"
#include "applescript/VolumeWindow.h"

#include <deque>
#include <optional>
#include <variant>
#include <vector>

namespace applescript {

/// A Finder for a host without one: it knows disks, their items and their windows, and what a
/// script sets of these goes into the `.DS_Store` at the disk's root, which a Mac's Finder then
/// shows. It draws nothing, starts nothing, and touches no file but that store.
///
/// Values are written by `update`, `close` and at the script's end. A value that it refuses is
/// error -10006, as with the real one.
class Finder final : public Application {
public:
    explicit Finder(std::vector<MountedVolume> volumes);

    std::string name() const override { return "Finder"; }
    Value get(const Reference& reference) override;
    void set(const Reference& reference, const Value& value) override;
    bool exists(const Reference& reference) override;
    Value perform(const Term& command, const Value& object, const Parameters& parameters) override;
    bool fileExists(const std::string& posixPath) override;
    std::string pathOf(const Reference& reference) override;
    void scriptEnded() override;

private:
    /// What a reference turns out to name.
    struct Itself { }; // the Finder
    struct Computer { }; // what holds the disks
    struct Item { // the disk itself where the path is empty
        VolumeWindow* window;
        VolumeFile file;
    };
    struct Window {
        VolumeWindow* window;
    };
    struct ViewOptions {
        VolumeWindow* window;
    };
    using Object = std::variant<Itself, Computer, Item, Window, ViewOptions>;

    /// Throws -1728 and -1719, like all that look something up.
    Object objectFor(const Reference& reference);
    Object ownerOf(const Reference& reference);
    Object propertyObject(const Reference& reference);
    Object elementOf(const Object& owner, const Reference& reference);
    Item diskFor(const Reference& reference);
    Window windowFor(const Reference& reference);
    Item itemFor(const Item& folder, const Reference& reference);
    std::optional<Item> itemAt(const std::string& posixPath);
    std::optional<Item> fileNamedBy(const Value& value);
    Object objectOf(const Term& command, const Value& value);

    Value nameOf(const Object& object) const;
    Value containerOf(const Item& item) const;
    std::optional<Value> propertyOf(const Object& object, TermID property);
    VolumeWindow::Outcome setProperty(const Object& object, TermID property, const Value& value);
    VolumeWindow::Outcome setTarget(VolumeWindow& window, const Value& value);
    VolumeWindow::Outcome setPicture(VolumeWindow& window, const Value& value);
    void openWindow(const Item& item);
    void save(VolumeWindow& window);

    std::vector<MountedVolume> m_volumes;
    std::deque<VolumeWindow> m_windows; // one for each volume, open or not
    std::vector<Value> m_targets; // of each window; Nothing: the disk itself
    int64_t m_lastID = 0;
};

} // namespace applescript
