#include "mounting/AttributeStore.h"

#include "bytes/Zeros.h"

#include <cerrno>
#include <linux/limits.h>
#include <system_error>

namespace mounting {

namespace {

constexpr std::string_view prefix = "user.";
const std::string finderInfoName = "com.apple.FinderInfo";
const std::string resourceForkName = "com.apple.ResourceFork";

[[noreturn]] void failAttribute(int code)
{
    throw std::system_error(code, std::generic_category());
}

/// The Mac's name.
std::string ownName(std::string_view name)
{
    if (!name.starts_with(prefix) || name.size() == prefix.size())
        failAttribute(EOPNOTSUPP);
    return std::string(name.substr(prefix.size()));
}

/// Of the list of names that a program gets.
std::size_t listBytes(const Attributes& attributes)
{
    std::size_t sum = 0;
    for (const auto& [name, value] : attributes)
        sum += prefix.size() + name.size() + 1;
    return sum;
}

} // namespace

AttributeStore::AttributeStore(const hfsplus::Volume& volume)
    : m_volume(volume)
{ }

bool AttributeStore::fits(const Node& node, const macfile::Metadata& metadata)
{
    if (node.isSymlink())
        return metadata.empty();
    std::size_t listBytes = finderInfoName.size() + resourceForkName.size() + 2 * prefix.size() + 2;
    for (const auto& [name, value] : metadata.attributes) {
        const std::size_t nameBytes = prefix.size() + name.size();
        if (value.size() > XATTR_SIZE_MAX || nameBytes > XATTR_NAME_MAX)
            return false;
        listBytes += nameBytes + 1;
    }
    return metadata.resourceFork.size() <= XATTR_SIZE_MAX && listBytes <= XATTR_LIST_MAX;
}

Attributes AttributeStore::all(const Node& node) const
{
    if (node.attributes)
        return *node.attributes;
    const auto entry = node.entry == 0 ? std::nullopt : m_volume.entryWithID(node.entry);
    if (!entry)
        return {};
    macfile::Metadata metadata = m_volume.metadata(*entry);
    if (!fits(node, metadata))
        return {};
    Attributes attributes = std::move(metadata.attributes);
    if (!bytes::isZero(metadata.finderInfo))
        attributes[finderInfoName].assign(metadata.finderInfo.begin(), metadata.finderInfo.end());
    if (!metadata.resourceFork.empty())
        attributes[resourceForkName] = std::move(metadata.resourceFork);
    return attributes;
}

Attributes& AttributeStore::changeable(Node& node) const
{
    if (!node.attributes)
        node.attributes = all(node);
    return *node.attributes;
}

std::vector<std::byte> AttributeStore::value(const Node& node, std::string_view name) const
{
    // The kernel asks for others of its own, before each write for instance.
    if (!name.starts_with(prefix))
        failAttribute(ENODATA);
    const Attributes attributes = all(node);
    const auto found = attributes.find(ownName(name));
    if (found == attributes.end())
        failAttribute(ENODATA);
    return found->second;
}

std::vector<std::string> AttributeStore::names(const Node& node) const
{
    std::vector<std::string> names;
    for (const auto& [name, value] : all(node))
        names.push_back(std::string(prefix) + name);
    return names;
}

void AttributeStore::set(
    Node& node, std::string_view name, std::span<const std::byte> value, Setting setting)
{
    const std::string own = ownName(name);
    Attributes& attributes = changeable(node);
    const bool isThere = attributes.contains(own);
    if (isThere && setting == Setting::mustBeNew)
        failAttribute(EEXIST);
    if (!isThere && setting == Setting::mustExist)
        failAttribute(ENODATA);
    if (!isThere && listBytes(attributes) + prefix.size() + own.size() + 1 > XATTR_LIST_MAX)
        failAttribute(ENOSPC);
    attributes[own].assign(value.begin(), value.end());
    touch(node);
}

void AttributeStore::remove(Node& node, std::string_view name)
{
    if (changeable(node).erase(ownName(name)) == 0)
        failAttribute(ENODATA);
    touch(node);
}

} // namespace mounting
