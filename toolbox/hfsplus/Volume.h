#pragma once

#include "hfsplus/AttributeTable.h"
#include "hfsplus/Catalog.h"
#include "hfsplus/ExtentsOverflow.h"
#include "macfile/Metadata.h"

#include <functional>
#include <optional>
#include <string>
#include <unordered_map>

namespace hfsplus {

enum class EntryKind { folder, file, symlink, special };

/// A name on a volume and what it names. Of a hard link everything but the name, its parent and
/// its own ID is that of the file which the links share. Valid as long as its volume.
struct Entry {
    CatalogID id = 0;
    CatalogID parent = 0;
    CatalogID contentID = 0; // differs from `id` for a hard link
    std::u16string_view name; // as stored
    EntryKind kind = EntryKind::file;
    uint16_t flags = 0; // of the record: recordHasAttributes ...
    RecordDates dates{};
    BSDInfo permissions{};
    std::array<std::byte, 32> finderInfo{};
    uint32_t valence = 0; // of a folder
    ForkData dataFork{}, resourceFork{}; // empty for a folder

    bool isHardLink() const { return id != contentID; }
    /// True for a file that keeps its data compressed in its attributes or its resource fork, which
    /// this system doesn't decode.
    bool isCompressed() const { return (permissions.ownerFlags & 0x20) != 0; }
};

/// An HFS+ or HFSX volume, opened for reading. Its trees are read once, when it is opened; what
/// they claim is checked before use. Borrows the source; may be read from several threads.
class Volume {
public:
    /// Paths longer than this many bytes are refused: no host takes them.
    static constexpr std::size_t maximumPath = 4095;

    /// Throws FormatError when this is no such volume or its trees are damaged.
    explicit Volume(const bytes::ByteSource& source);

    const bytes::ByteSource& source() const { return m_source; }
    const VolumeHeader& header() const { return m_header; }
    /// True when the header itself is damaged and its copy at the volume's end was used. Such a
    /// volume shouldn't be written.
    bool usesAlternateHeader() const { return m_usesAlternate; }
    /// True for an HFSX volume whose names differ by case.
    bool isCaseSensitive() const { return m_caseSensitive; }
    /// As a user reads it, '/' included.
    std::string name() const;
    const Catalog& catalog() const { return m_catalog; }
    const ExtentsOverflow& overflow() const { return m_overflow; }

    std::optional<Entry> entryWithID(CatalogID id) const;
    Entry root() const { return *entryWithID(rootFolderID); }
    /// `path` is the host's form, relative to the root; "" is the root.
    std::optional<Entry> find(std::string_view path) const;
    /// The entries of a folder in the catalog's order, without the system's private ones.
    std::vector<Entry> children(CatalogID folder) const;
    /// Visits everything below the root, folders before what they hold, with its path in the
    /// host's form. Throws FormatError for paths over maximumPath.
    void visit(const std::function<void(const std::string& path, const Entry&)>& use) const;

    ForkReader dataFork(const Entry& entry) const;
    ForkReader resourceFork(const Entry& entry) const;
    ForkReader metadataFork(CatalogID file, const ForkData& fork) const;
    /// The target of a symbolic link. Throws FormatError for one that is too long or has a NUL.
    std::string linkTarget(const Entry& entry) const;

    std::span<const AttributeTable::Value> attributes(CatalogID content) const;
    std::vector<std::byte> attributeValue(const AttributeTable::Value& value) const;
    /// What a Mac shows a program: Finder information without the fields that the system keeps for
    /// itself, the resource fork, and the attributes but the system's own.
    macfile::Metadata metadata(const Entry& entry) const;

private:
    void readHeader();
    void readTrees();
    Entry entryFor(const Catalog::Item& item) const;
    bool isPrivate(const Catalog::Item& item) const;
    ForkReader fork(CatalogID file, uint8_t type, const ForkData& fork) const;

    const bytes::ByteSource& m_source;
    VolumeHeader m_header;
    bool m_usesAlternate = false;
    bool m_caseSensitive = false;
    ExtentsOverflow m_overflow;
    Catalog m_catalog;
    AttributeTable m_attributes;
    std::unordered_map<uint32_t, CatalogID> m_inodes; // number in a link's record -> its file
};

} // namespace hfsplus
