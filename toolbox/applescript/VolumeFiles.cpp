#include "applescript/VolumeFiles.h"

#include "hfsplus/Names.h"

#include <algorithm>
#include <system_error>

namespace applescript {

namespace fs = std::filesystem;

namespace {

std::optional<std::u16string> storedName(std::string_view hostName)
{
    try {
        return hfsplus::nameFromHost(hostName);
    } catch (const std::system_error&) {
        return std::nullopt; // no volume can hold such a name
    }
}

std::string joined(const std::string& folder, std::string_view name)
{
    return folder.empty() ? std::string{name} : folder + '/' + std::string{name};
}

// The bound keeps a folder that a hostile image fills from costing more than a moment.
constexpr std::size_t mostListed = 100'000;

std::vector<VolumeFile> entriesOf(const VolumeFile& folder)
{
    std::vector<VolumeFile> files;
    std::error_code error;
    fs::directory_iterator entry{folder.host, error};
    for (; !error && entry != fs::directory_iterator{} && files.size() < mostListed;
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        files.push_back({joined(folder.path, name), entry->path()});
    }
    return files;
}

} // namespace

bool VolumeFiles::sameName(std::string_view a, std::string_view b)
{
    if (a == b)
        return true;
    const auto left = storedName(a);
    const auto right = storedName(b);
    return left && right && hfsplus::compareNames(*left, *right) == 0;
}

std::optional<VolumeFile> VolumeFiles::child(const VolumeFile& folder, std::string_view name) const
{
    if (name == ".." || name.find('\0') != std::string_view::npos)
        return std::nullopt;
    std::error_code error;
    VolumeFile exact{joined(folder.path, name), folder.host / name};
    if (fs::exists(fs::symlink_status(exact.host, error)))
        return exact;
    for (VolumeFile& other : entriesOf(folder)) {
        if (sameName(other.name(), name))
            return std::move(other);
    }
    return std::nullopt;
}

std::vector<VolumeFile> VolumeFiles::list(const VolumeFile& folder) const
{
    std::vector<VolumeFile> files = entriesOf(folder);
    std::ranges::sort(files, [](const VolumeFile& a, const VolumeFile& b) {
        const auto left = storedName(a.name());
        const auto right = storedName(b.name());
        const auto order = left && right ? hfsplus::compareNames(*left, *right) : left <=> right;
        return order != 0 ? order < 0 : a.path < b.path;
    });
    return files;
}

// Where a link leads, as a path on the volume; none where that is outside or nothing.
std::optional<VolumeFile> VolumeFiles::followed(const VolumeFile& file) const
{
    std::error_code error;
    const fs::path root = fs::canonical(m_volume.folder, error);
    if (error)
        return std::nullopt;
    const fs::path target = fs::canonical(file.host, error);
    if (error)
        return std::nullopt;
    const auto [rootEnd, rest] =
        std::mismatch(root.begin(), root.end(), target.begin(), target.end());
    if (rootEnd != root.end())
        return std::nullopt;
    fs::path path;
    for (auto part = rest; part != target.end(); ++part)
        path /= *part;
    return VolumeFile{path.string(), target};
}

std::optional<VolumeFile> VolumeFiles::find(std::string_view path) const
{
    std::optional<VolumeFile> found = VolumeFile{"", m_volume.folder};
    for (std::size_t at = 0; at < path.size();) {
        const std::size_t end = std::min(path.find('/', at), path.size());
        const std::string_view name = path.substr(at, end - at);
        at = end + 1;
        if (name.empty() || name == ".")
            continue;
        // Only now that something lies below it: a link at the end stays a link.
        std::error_code error;
        if (fs::is_symlink(fs::symlink_status(found->host, error)) && !found->path.empty())
            found = followed(*found);
        if (found)
            found = child(*found, name);
        if (!found)
            return std::nullopt;
    }
    return found;
}

std::optional<VolumeFile> VolumeFiles::findRegularFile(std::string_view path) const
{
    auto found = find(path);
    if (found)
        found = followed(*found);
    std::error_code error;
    if (!found || !fs::is_regular_file(found->host, error))
        return std::nullopt;
    return found;
}

} // namespace applescript
