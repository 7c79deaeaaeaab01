#pragma once

#include "hfsplus/VolumeRecords.h"

#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct stat;

namespace hfsplus {

/// What the host says of a file, enough to notice that it was touched: the change time can't be
/// set back by a program.
struct FileFacts {
    uint64_t inode = 0;
    uint64_t size = 0; // bytes; 0 for folders
    int64_t modified = 0; // nanoseconds since 1970
    int64_t changed = 0; // the same
    uint32_t mode = 0; // st_mode

    FileFacts() = default;
    explicit FileFacts(const struct stat& status);
    bool operator==(const FileFacts&) const = default;
};

/// A volume as it was laid out in a folder: each path with its ID on the volume and the host's
/// facts of that moment. What differs later was changed by somebody.
class FolderSnapshot {
public:
    struct Item {
        std::string path; // relative to the folder; "" is the folder itself
        CatalogID id = 0; // 0 for a companion that holds another file's metadata
        FileFacts facts;
        bool operator==(const Item&) const = default;
    };

    FolderSnapshot() = default;
    /// Takes the items in any order; a path must occur once.
    explicit FolderSnapshot(std::vector<Item> items);

    /// In the order of their paths.
    const std::vector<Item>& items() const { return m_items; }
    /// Null when the snapshot has no such path.
    const Item* find(std::string_view path) const;
    /// The items whose paths begin with `prefix`, which ends in a slash; all but "" for "".
    std::span<const Item> below(std::string_view prefix) const;

    std::vector<std::byte> serialized() const;
    /// Throws bytes::FormatError for anything that `serialized` didn't make.
    static FolderSnapshot parse(std::span<const std::byte> raw);
    /// Replaces the file at `path` whole. Throws std::system_error.
    void save(const std::filesystem::path& path) const;
    static FolderSnapshot load(const std::filesystem::path& path);

private:
    std::vector<Item> m_items;
};

} // namespace hfsplus
