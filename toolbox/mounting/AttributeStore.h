#pragma once

#include "hfsplus/Volume.h"
#include "mounting/Node.h"

#include <span>
#include <string_view>

namespace mounting {

/// Extended attributes of a mounted volume's files. The host's `user.NAME` is the Mac's NAME;
/// Finder information and resource fork are attributes too, and what no attribute can hold lies
/// in an AppleDouble companion beside the file. Throws std::system_error (ENODATA, EEXIST,
/// EOPNOTSUPP for other name spaces).
class AttributeStore {
public:
    /// Borrows the volume.
    explicit AttributeStore(const hfsplus::Volume& volume);

    /// Whether metadata can be shown as attributes of this kind of node.
    static bool fits(const Node& node, const macfile::Metadata& metadata);

    std::vector<std::byte> value(const Node& node, std::string_view name) const;
    /// With the host's prefix.
    std::vector<std::string> names(const Node& node) const;
    enum class Setting { either, mustBeNew, mustExist };
    void set(Node& node, std::string_view name, std::span<const std::byte> value, Setting setting);
    void remove(Node& node, std::string_view name);

private:
    Attributes all(const Node& node) const;
    Attributes& changeable(Node& node) const;

    const hfsplus::Volume& m_volume;
};

} // namespace mounting
