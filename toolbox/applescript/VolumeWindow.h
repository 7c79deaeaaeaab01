#pragma once

#include "applescript/MountedVolume.h"
#include "applescript/Value.h"
#include "applescript/VolumeFiles.h"
#include "finder/DesktopStore.h"
#include "finder/VolumeWindowStyle.h"

#include <optional>

namespace applescript {

/// One volume's window as scripts see it: the values of its `.DS_Store`, those that a script has
/// set since, and the file that they go into. Values outlive the window: what was set stays pending
/// until it is written.
class VolumeWindow {
public:
    /// What became of a value.
    enum class Outcome { accepted, refused, readOnly, noSuchProperty };

    /// `volume` is borrowed. A store that is damaged, or that is no plain file, counts as none.
    explicit VolumeWindow(const MountedVolume& volume);

    const MountedVolume& volume() const { return *m_volume; }

    bool isOpen() const { return m_id != 0; }
    int64_t id() const { return m_id; }
    void open(int64_t id);
    void close() { m_id = 0; }

    /// Of the window itself: view, bars, bounds. None for properties that it doesn't have.
    std::optional<Value> windowProperty(TermID property) const;
    Outcome setWindowProperty(TermID property, const Value& value);
    /// Of its icon view options, the picture excepted.
    std::optional<Value> viewOption(TermID property) const;
    Outcome setViewOption(TermID property, const Value& value);
    Outcome setPicture(const VolumeFile& picture);
    void removePicture();
    /// Of an item at the volume's root; {-1, -1} for one that has no place yet.
    Value positionOf(const VolumeFile& item) const;
    Outcome setPosition(const VolumeFile& item, const Value& position);

    /// Writes the store if anything was set. Throws std::system_error and bytes::FormatError. On a
    /// volume that can't be written nothing is kept.
    void save();

private:
    finder::AliasTarget aliasTargetOf(const VolumeFile& file) const;

    const MountedVolume* m_volume;
    finder::DesktopStore m_store;
    finder::VolumeWindowStyle m_style;
    int64_t m_id = 0;
    bool m_changed = false;
};

} // namespace applescript
