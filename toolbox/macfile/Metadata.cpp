#include "macfile/Metadata.h"

#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "bytes/Zeros.h"
#include "macfile/AppleDouble.h"
#include "macfile/HostAttributes.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <system_error>

namespace macfile {

namespace fs = std::filesystem;

namespace {

const std::string finderInfoName = "com.apple.FinderInfo";
const std::string resourceForkName = "com.apple.ResourceFork";
constexpr std::string_view companionPrefix = "._";
/// A larger `._` file is not taken for a companion; forks end far below.
constexpr uint64_t largestCompanion = uint64_t{1} << 30;

bool isFolder(const fs::path& path)
{
    return fs::is_directory(fs::symlink_status(path));
}

/// The path without a trailing slash or dot, so that it ends in its own name.
fs::path namedPath(const fs::path& given)
{
    fs::path path = fs::absolute(given);
    while ((!path.has_filename() || path.filename() == ".") && path.has_relative_path())
        path = path.parent_path();
    return path;
}

fs::path companionBeside(const fs::path& path)
{
    const fs::path named = namedPath(path);
    return named.parent_path() / (std::string(companionPrefix) + named.filename().string());
}

fs::path companionInside(const fs::path& folder)
{
    return folder / "._.";
}

/// What an AppleDouble file at `path` says; none for anything else.
std::optional<Metadata> readCompanion(const fs::path& path)
{
    std::error_code absent;
    if (!fs::is_regular_file(fs::symlink_status(path, absent)))
        return std::nullopt;
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    const uint64_t size = file.size();
    if (size > largestCompanion
        || !looksLikeAppleDouble(file.read(0, std::min<std::size_t>(size, 64))))
        return std::nullopt;
    try {
        return readAppleDouble(file.read(0, size));
    } catch (const bytes::FormatError&) {
        return std::nullopt;
    }
}

void overlay(Metadata& metadata, Metadata companion)
{
    if (!bytes::isZero(companion.finderInfo))
        metadata.finderInfo = companion.finderInfo;
    if (!companion.resourceFork.empty())
        metadata.resourceFork = std::move(companion.resourceFork);
    for (auto& [name, value] : companion.attributes)
        metadata.attributes.insert_or_assign(name, std::move(value));
}

Metadata readAttributes(const fs::path& path)
{
    Metadata metadata;
    for (const std::string& name : hostAttributes::list(path)) {
        auto value = hostAttributes::read(path, name);
        if (name == finderInfoName)
            std::copy_n(value.begin(), std::min(value.size(), metadata.finderInfo.size()),
                metadata.finderInfo.begin());
        else if (name == resourceForkName)
            metadata.resourceFork = std::move(value);
        else
            metadata.attributes.emplace(name, std::move(value));
    }
    return metadata;
}

/// Offers every item to the host. What it did not take is returned.
Metadata writeAttributes(const fs::path& path, const Metadata& metadata)
{
    Metadata rest;
    if (!bytes::isZero(metadata.finderInfo)
        && !hostAttributes::write(path, finderInfoName, metadata.finderInfo))
        rest.finderInfo = metadata.finderInfo;
    if (!metadata.resourceFork.empty()
        && !hostAttributes::write(path, resourceForkName, metadata.resourceFork))
        rest.resourceFork = metadata.resourceFork;
    for (const auto& [name, value] : metadata.attributes)
        if (!hostAttributes::write(path, name, value))
            rest.attributes.emplace(name, value);
    return rest;
}

void removeStaleAttributes(const fs::path& path, const Metadata& wanted, const Metadata& elsewhere)
{
    for (const std::string& name : hostAttributes::list(path)) {
        const bool kept = name == finderInfoName
            ? !bytes::isZero(wanted.finderInfo) && bytes::isZero(elsewhere.finderInfo)
            : name == resourceForkName
            ? !wanted.resourceFork.empty() && elsewhere.resourceFork.empty()
            : wanted.attributes.contains(name) && !elsewhere.attributes.contains(name);
        if (!kept)
            hostAttributes::remove(path, name);
    }
}

void writeCompanion(const fs::path& place, const Metadata& metadata)
{
    const bool taken = fs::exists(fs::symlink_status(place));
    if (taken && !readCompanion(place))
        throw std::system_error(EEXIST, std::generic_category(), place.string());
    const auto raw = writeAppleDouble(metadata);
    bytes::OutputFile output(place);
    output.file().writeAt(0, raw);
    output.commit(true);
}

void removeIfCompanion(const fs::path& place)
{
    if (readCompanion(place))
        fs::remove(place);
}

} // namespace

bool Metadata::empty() const
{
    return bytes::isZero(finderInfo) && resourceFork.empty() && attributes.empty();
}

void Metadata::setFinder(const FinderInfo& info)
{
    std::ranges::copy(bytes::recordBytes(info), finderInfo.begin());
}

void Metadata::setFinderFlags(uint16_t flags, bool on)
{
    FinderInfo info = finder();
    info.flags = static_cast<uint16_t>(on ? info.flags | flags : info.flags & ~flags);
    setFinder(info);
}

Metadata readMetadata(const fs::path& path)
{
    Metadata metadata = readAttributes(path);
    if (auto companion = readCompanion(companionBeside(path)))
        overlay(metadata, std::move(*companion));
    if (isFolder(path))
        if (auto companion = readCompanion(companionInside(path)))
            overlay(metadata, std::move(*companion));
    return metadata;
}

void writeMetadata(const fs::path& path, const Metadata& metadata)
{
    const bool folder = isFolder(path);
    const fs::path place = folder ? companionInside(path) : companionBeside(path);
    const Metadata rest = writeAttributes(path, metadata);
    if (!rest.empty())
        writeCompanion(place, rest);
    else
        removeIfCompanion(place);
    if (folder)
        removeIfCompanion(companionBeside(path));
    removeStaleAttributes(path, metadata, rest);
}

bool isCompanion(const fs::path& path)
{
    const std::string name = path.filename().string();
    if (name.size() <= companionPrefix.size() || !name.starts_with(companionPrefix))
        return false;
    const fs::path owner = path.parent_path() / name.substr(companionPrefix.size());
    return fs::exists(fs::symlink_status(owner)) && readCompanion(path).has_value();
}

void removeCompanion(const fs::path& path)
{
    removeIfCompanion(companionBeside(path));
}

} // namespace macfile
