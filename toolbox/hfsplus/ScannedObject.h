#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace hfsplus {

/// A file, folder or symbolic link that FolderScan found. Kept small: there may be 100,000.
struct ScannedObject {
    static constexpr uint32_t none = UINT32_MAX;

    uint64_t size = 0; // bytes of the data fork or of a link's target; 0 for a folder
    uint32_t parent = 0; // index; the root is its own
    uint32_t nameStart = 0; // in the scan's pool
    uint16_t nameLength = 0; // bytes of the host's name
    uint16_t mode = 0; // st_mode
    uint32_t owner = 0, group = 0;
    uint32_t created = 0, modified = 0, changed = 0, accessed = 0; // volume dates
    uint32_t firstChild = 0, childCount = 0; // a folder's children are neighbours
    uint32_t linkGroup = none; // index of the group of hard links that this is one of
    uint32_t metadata = none; // index of what the file has beyond its bytes

    bool isFolder() const { return (mode & 0170000) == 0040000; }
    bool isSymlink() const { return (mode & 0170000) == 0120000; }
};

/// An extended attribute. The value of one too large for a node is read again when it is written.
struct ScannedAttribute {
    std::u16string name;
    uint64_t size = 0; // bytes
    std::vector<std::byte> value; // empty for a large one

    bool isLarge() const { return value.size() != size; }
};

/// What an object has beyond its bytes, without the resource fork's bytes.
struct ScannedMetadata {
    std::array<std::byte, 32> finderInfo{};
    uint64_t resourceForkSize = 0; // bytes
    std::vector<ScannedAttribute> attributes; // in the order of the attributes tree
};

} // namespace hfsplus
