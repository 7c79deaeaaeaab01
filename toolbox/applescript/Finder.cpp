#include "applescript/Finder.h"

#include "applescript/ScriptError.h"
#include "bytes/FormatError.h"

#include <algorithm>
#include <system_error>

namespace applescript {

namespace fs = std::filesystem;

namespace {

using Outcome = VolumeWindow::Outcome;

Value property(TermID id, Value of = {})
{
    Reference reference{&term(id), nullptr, nullptr};
    if (!of.is<Nothing>())
        reference.of = std::make_shared<const Value>(std::move(of));
    return reference;
}

Value element(TermID id, Value key, Value of = {})
{
    Value made = property(id, std::move(of));
    Reference reference = *made.as<Reference>();
    reference.key = std::make_shared<const Value>(std::move(key));
    reference.byID = id == TermID::finderWindow;
    return reference;
}

Value diskReference(const MountedVolume& volume)
{
    return element(TermID::disk, volume.name);
}

std::string finderName(std::string hostName)
{
    std::ranges::replace(hostName, ':', '/');
    return hostName;
}

TermID classOf(const VolumeFile& file)
{
    std::error_code error;
    const fs::file_status status = fs::symlink_status(file.host, error);
    if (fs::is_symlink(status))
        return TermID::aliasFile;
    if (!fs::is_directory(status))
        return TermID::file;
    return fs::path{file.path}.extension() == ".app" ? TermID::applicationFile : TermID::folder;
}

// The object's own name in later messages.
Value itemReference(const MountedVolume& volume, const VolumeFile& file)
{
    Value reference = diskReference(volume);
    if (file.path.empty())
        return reference;
    const fs::path path{file.path};
    fs::path host = volume.folder, walked;
    for (const fs::path& part : path) {
        host /= part;
        walked /= part;
        const TermID type = walked == path ? classOf(file) : TermID::folder;
        reference = element(type, finderName(part.string()), std::move(reference));
    }
    return reference;
}

[[noreturn]] void failHandler()
{
    throw ScriptError::fromApplication(-10000, "AppleEvent handler failed.");
}

[[noreturn]] void failSetting(const Value& what, const Value& value, Outcome outcome)
{
    const std::string text = "Can’t set " + sourceForm(what) + " to " + sourceForm(value) + '.';
    if (outcome == Outcome::readOnly)
        throw ScriptError::fromApplication(-10003, text + " Access not allowed.");
    throw ScriptError::fromApplication(-10006, text);
}

} // namespace

Finder::Finder(std::vector<MountedVolume> volumes)
    : m_volumes(std::move(volumes))
    , m_targets(m_volumes.size())
{
    for (const MountedVolume& volume : m_volumes)
        m_windows.emplace_back(volume);
}

Value Finder::nameOf(const Object& object) const
{
    if (const auto* window = std::get_if<Window>(&object))
        return window->window->volume().name;
    if (const auto* item = std::get_if<Item>(&object))
        return item->file.path.empty() ? Value{item->window->volume().name}
                                       : Value{finderName(item->file.name())};
    return name();
}

Value Finder::containerOf(const Item& item) const
{
    if (item.file.path.empty())
        return property(TermID::computerContainer);
    const MountedVolume& volume = item.window->volume();
    const fs::path above = fs::path{item.file.path}.parent_path();
    return itemReference(volume, {above.string(), volume.folder / above});
}

std::optional<Value> Finder::propertyOf(const Object& object, TermID which)
{
    if (which == TermID::name)
        return nameOf(object);
    if (const auto* options = std::get_if<ViewOptions>(&object))
        return options->window->viewOption(which);
    if (const auto* window = std::get_if<Window>(&object)) {
        const VolumeWindow& shown = *window->window;
        const Value self = element(TermID::finderWindow, shown.id());
        if (which == TermID::iconViewOptions)
            return property(which, self);
        if (which != TermID::target)
            return shown.windowProperty(which);
        const auto index = static_cast<std::size_t>(&shown.volume() - m_volumes.data());
        return m_targets[index].is<Nothing>() ? diskReference(shown.volume()) : m_targets[index];
    }
    const auto* item = std::get_if<Item>(&object);
    if (!item)
        return which == TermID::computerContainer ? std::optional{property(which)} : std::nullopt;
    if (which == TermID::container)
        return containerOf(*item);
    if (which == TermID::disk)
        return diskReference(item->window->volume());
    if (item->file.path.empty() && which == TermID::containerWindow && item->window->isOpen())
        return element(TermID::finderWindow, item->window->id());
    if (!item->file.path.empty() && which == TermID::position)
        return item->window->positionOf(item->file);
    return std::nullopt;
}

Value Finder::get(const Reference& reference)
{
    if (!reference.isProperty()) {
        const Object object = objectFor(reference);
        if (const auto* window = std::get_if<Window>(&object))
            return element(TermID::finderWindow, window->window->id());
        const auto* item = std::get_if<Item>(&object);
        return item ? itemReference(item->window->volume(), item->file) : Value{reference};
    }
    if (auto value = propertyOf(ownerOf(reference), reference.term->id))
        return *std::move(value);
    throw ScriptError::fromApplication(-1728, "Can’t get " + sourceForm(reference) + '.');
}

// An owner that isn't there is named without the property, as the real one words it.
void Finder::set(const Reference& reference, const Value& value)
{
    std::optional<Object> owner;
    try {
        owner = ownerOf(reference);
    } catch (const ScriptError&) {
        failSetting(*reference.of, value, Outcome::refused);
    }
    Outcome outcome = Outcome::refused;
    try {
        if (reference.isProperty())
            outcome = setProperty(*owner, reference.term->id, value);
    } catch (const ScriptError&) {
        outcome = Outcome::refused; // the value names an object that isn't there
    } catch (const std::system_error&) {
        failHandler(); // a name that no store can hold
    }
    if (outcome != Outcome::accepted)
        failSetting(reference, value, outcome);
}

VolumeWindow::Outcome Finder::setProperty(const Object& object, TermID which, const Value& value)
{
    if (const auto* window = std::get_if<Window>(&object)) {
        if (which == TermID::target)
            return setTarget(*window->window, value);
        if (which == TermID::iconViewOptions)
            return Outcome::readOnly;
        return window->window->setWindowProperty(which, value);
    }
    if (const auto* options = std::get_if<ViewOptions>(&object)) {
        if (which == TermID::backgroundPicture)
            return setPicture(*options->window, value);
        return options->window->setViewOption(which, value);
    }
    if (const auto* item = std::get_if<Item>(&object); item && which == TermID::position) {
        // Only the root's own store is kept here.
        const bool atRoot =
            !item->file.path.empty() && item->file.path.find('/') == std::string::npos;
        return atRoot ? item->window->setPosition(item->file, value) : Outcome::refused;
    }
    return propertyOf(object, which) ? Outcome::readOnly : Outcome::noSuchProperty;
}

// What the window shows is of no consequence for the store: its values stay those of the disk.
VolumeWindow::Outcome Finder::setTarget(VolumeWindow& window, const Value& value)
{
    const auto* reference = value.as<Reference>();
    Value target;
    if (reference) {
        const Object object = objectFor(*reference);
        if (std::holds_alternative<Item>(object) || std::holds_alternative<Computer>(object))
            target = value;
    } else if (const auto item = fileNamedBy(value)) {
        target = itemReference(item->window->volume(), item->file);
    }
    if (target.is<Nothing>())
        return Outcome::refused;
    m_targets[static_cast<std::size_t>(&window.volume() - m_volumes.data())] = std::move(target);
    return Outcome::accepted;
}

// A picture elsewhere would not travel with the volume.
VolumeWindow::Outcome Finder::setPicture(VolumeWindow& window, const Value& value)
{
    if (const auto* enumerator = value.as<Enumerator>();
        enumerator && enumerator->id == TermID::none) {
        window.removePicture();
        return Outcome::accepted;
    }
    const auto item = fileNamedBy(value);
    if (!item || item->window != &window)
        return Outcome::refused;
    const auto picture = VolumeFiles{window.volume()}.findRegularFile(item->file.path);
    return picture ? window.setPicture(*picture) : Outcome::refused;
}

bool Finder::exists(const Reference& reference)
{
    try {
        get(reference);
        return true;
    } catch (const ScriptError&) {
        return false;
    }
}

Value Finder::perform(const Term& command, const Value& object, const Parameters&)
{
    const Object target = objectOf(command, object);
    const auto* item = std::get_if<Item>(&target);
    const auto* window = std::get_if<Window>(&target);
    if (command.id == TermID::activate && std::holds_alternative<Itself>(target))
        return {};
    if (command.id == TermID::open && (item || window)) {
        if (item)
            openWindow(*item);
        return {};
    }
    if (command.id == TermID::update && (item || window)) {
        save(item ? *item->window : *window->window);
        return {};
    }
    if (command.id == TermID::close && (window || (item && item->file.path.empty()))) {
        VolumeWindow& closed = window ? *window->window : *item->window;
        save(closed);
        closed.close();
        m_targets[static_cast<std::size_t>(&closed.volume() - m_volumes.data())] = {};
        return {};
    }
    failHandler();
}

// Only disks have windows here. To open a file would be to start its application, which no script
// may do on this host.
void Finder::openWindow(const Item& item)
{
    if (!item.file.path.empty())
        failHandler();
    if (!item.window->isOpen())
        item.window->open(++m_lastID);
}

void Finder::save(VolumeWindow& window)
{
    try {
        window.save();
    } catch (const std::system_error&) {
        failHandler();
    } catch (const bytes::FormatError&) {
        failHandler();
    }
}

void Finder::scriptEnded()
{
    for (VolumeWindow& window : m_windows)
        save(window);
}

} // namespace applescript
