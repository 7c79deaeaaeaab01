#include "applescript/Finder.h"
#include "applescript/ScriptError.h"

#include <algorithm>
#include <system_error>

namespace applescript {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void failGetting(const Reference& reference)
{
    throw ScriptError::fromApplication(-1728, "Can’t get " + sourceForm(reference) + '.');
}

[[noreturn]] void failIndex(const Reference& reference)
{
    throw ScriptError::fromApplication(
        -1719, "Can’t get " + sourceForm(reference) + ". Invalid index.");
}

// The host spells a '/' inside a Finder's name as ':'.
std::string hostName(std::string finderName)
{
    std::ranges::replace(finderName, '/', ':');
    return finderName;
}

// Position `index` counts from 1, or from the end where it is negative.
template <typename Elements>
auto& elementAt(Elements& elements, int64_t index, const Reference& reference)
{
    const auto count = static_cast<int64_t>(elements.size());
    if (index < 0 && index >= -count)
        index += count + 1;
    if (index < 1 || index > count)
        failIndex(reference);
    return elements[static_cast<std::size_t>(index - 1)];
}

bool isOfClass(const VolumeFile& file, TermID wanted)
{
    std::error_code error;
    const fs::file_status status = fs::symlink_status(file.host, error);
    const bool folder = fs::is_directory(status);
    const bool application = folder && fs::path{file.path}.extension() == ".app";
    switch (wanted) {
    case TermID::item:
        return true;
    case TermID::folder:
    case TermID::container:
        return folder && !application;
    case TermID::applicationFile:
        return application;
    case TermID::aliasFile:
        return fs::is_symlink(status);
    case TermID::file:
        return !folder || application;
    default:
        return false;
    }
}

} // namespace

Finder::Object Finder::objectFor(const Reference& reference)
{
    if (reference.isProperty())
        return propertyObject(reference);
    return elementOf(ownerOf(reference), reference);
}

Finder::Object Finder::ownerOf(const Reference& reference)
{
    if (!reference.of)
        return Itself{};
    if (const auto* owner = reference.of->as<Reference>())
        return objectFor(*owner);
    if (auto item = fileNamedBy(*reference.of))
        return *std::move(item);
    failGetting(reference);
}

// Properties whose value is an object of its own.
Finder::Object Finder::propertyObject(const Reference& reference)
{
    const Object owner = ownerOf(reference);
    const TermID property = reference.term->id;
    const auto* item = std::get_if<Item>(&owner);
    const auto* window = std::get_if<Window>(&owner);
    if (property == TermID::computerContainer && std::holds_alternative<Itself>(owner))
        return Computer{};
    if (window && property == TermID::iconViewOptions)
        return ViewOptions{window->window};
    if (window && property == TermID::target) {
        const auto target = propertyOf(owner, property);
        if (const auto* object = target ? target->as<Reference>() : nullptr)
            return objectFor(*object);
    }
    if (item && property == TermID::containerWindow && item->file.path.empty()
        && item->window->isOpen())
        return Window{item->window};
    if (item && property == TermID::disk)
        return Item{item->window, {"", item->window->volume().folder}};
    if (item && property == TermID::container) {
        const Value container = containerOf(*item);
        return objectFor(*container.as<Reference>());
    }
    failGetting(reference);
}

Finder::Object Finder::elementOf(const Object& owner, const Reference& reference)
{
    const bool topLevel = std::holds_alternative<Itself>(owner);
    const TermID wanted = reference.term->id;
    if (wanted == TermID::disk && (topLevel || std::holds_alternative<Computer>(owner)))
        return diskFor(reference);
    if (topLevel && (wanted == TermID::finderWindow || wanted == TermID::window))
        return windowFor(reference);
    // A window holds what its disk holds.
    if (const auto* window = std::get_if<Window>(&owner))
        return itemFor(Item{window->window, {"", window->window->volume().folder}}, reference);
    if (const auto* item = std::get_if<Item>(&owner))
        return itemFor(*item, reference);
    failGetting(reference);
}

// Of two disks with one name the one that was mounted first.
Finder::Item Finder::diskFor(const Reference& reference)
{
    const auto itemOf = [](VolumeWindow& window) {
        return Item{&window, {"", window.volume().folder}};
    };
    if (const auto* index = reference.key->as<int64_t>())
        return itemOf(elementAt(m_windows, *index, reference));
    if (const auto* name = reference.key->as<std::string>()) {
        for (VolumeWindow& window : m_windows) {
            if (VolumeFiles::sameName(hostName(window.volume().name), hostName(*name)))
                return itemOf(window);
        }
    }
    failGetting(reference);
}

// By id, by the name of the disk, or by index: the window opened last is the first.
Finder::Window Finder::windowFor(const Reference& reference)
{
    std::vector<VolumeWindow*> open;
    for (VolumeWindow& window : m_windows) {
        if (window.isOpen())
            open.push_back(&window);
    }
    std::ranges::sort(open, std::greater{}, &VolumeWindow::id);

    const auto* number = reference.key->as<int64_t>();
    if (number && !reference.byID)
        return {elementAt(open, *number, reference)};
    for (VolumeWindow* window : open) {
        const bool same =
            number ? window->id() == *number : isEqual(*reference.key, window->volume().name);
        if (same)
            return {window};
    }
    failGetting(reference);
}

Finder::Item Finder::itemFor(const Item& folder, const Reference& reference)
{
    const VolumeFiles files{folder.window->volume()};
    if (const auto* index = reference.key->as<int64_t>()) {
        std::vector<VolumeFile> found = files.list(folder.file);
        std::erase_if(found, [&](const VolumeFile& file) {
            return file.name().starts_with('.') || !isOfClass(file, reference.term->id);
        });
        return {folder.window, elementAt(found, *index, reference)};
    }
    const auto* name = reference.key->as<std::string>();
    if (!name || name->empty() || *name == ".")
        failGetting(reference);
    const std::string path =
        folder.file.path.empty() ? hostName(*name) : folder.file.path + '/' + hostName(*name);
    auto found = files.find(path);
    if (!found || !isOfClass(*found, reference.term->id))
        failGetting(reference);
    return {folder.window, *std::move(found)};
}

std::optional<Finder::Item> Finder::itemAt(const std::string& posixPath)
{
    for (VolumeWindow& window : m_windows) {
        const std::string& mountPoint = window.volume().mountPoint;
        if (!posixPath.starts_with(mountPoint))
            continue;
        const std::string rest = posixPath.substr(mountPoint.size());
        if (!rest.empty() && rest.front() != '/')
            continue;
        if (auto file = VolumeFiles{window.volume()}.find(rest))
            return Item{&window, *std::move(file)};
    }
    return std::nullopt;
}

// The item of a disk that the value means: a path, or an object that is a file.
std::optional<Finder::Item> Finder::fileNamedBy(const Value& value)
{
    if (const auto* alias = value.as<Alias>())
        return itemAt(alias->path);
    if (const auto* file = value.as<PosixFile>())
        return itemAt(file->path);
    const auto* reference = value.as<Reference>();
    if (!reference)
        return std::nullopt;
    const Object object = objectFor(*reference);
    const auto* item = std::get_if<Item>(&object);
    return item ? std::optional{*item} : std::nullopt;
}

// The direct object of a command.
Finder::Object Finder::objectOf(const Term& command, const Value& value)
{
    if (const auto* reference = value.as<Reference>())
        return objectFor(*reference);
    const auto* file = value.as<PosixFile>();
    if (file && !file->path.starts_with('/'))
        throw ScriptError::fromApplication(-10010, "Handler can’t handle objects of this class.");
    if (auto item = fileNamedBy(value))
        return *std::move(item);
    if (file || value.is<Alias>())
        throw ScriptError::fromApplication(-1728, "Can’t get " + sourceForm(value) + '.');
    if (value.is<Nothing>() || value.is<ApplicationName>())
        return Itself{};
    throw ScriptError::fromApplication(-1708,
        sourceForm(value) + " doesn’t understand the “" + std::string{command.words}
            + "” message.");
}

bool Finder::fileExists(const std::string& posixPath)
{
    return itemAt(posixPath).has_value();
}

std::string Finder::pathOf(const Reference& reference)
{
    const Object object = objectFor(reference);
    const auto* item = std::get_if<Item>(&object);
    if (!item)
        return {};
    const std::string& mountPoint = item->window->volume().mountPoint;
    return item->file.path.empty() ? mountPoint : mountPoint + '/' + item->file.path;
}

} // namespace applescript
