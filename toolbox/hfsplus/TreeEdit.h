#pragma once

#include "hfsplus/BTreeBuilder.h"
#include "hfsplus/ForkReader.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace hfsplus {

/// The records of a B-tree while they are being changed. Where only values of the same length
/// change, they are patched where they lie; else the tree is built anew in the same room.
class TreeEdit {
public:
    using Key = std::span<const std::byte>; // with its length field
    using Less = bool (*)(Key, Key);

    struct Record {
        Key key;
        std::span<const std::byte> data;
        uint64_t dataOffset = 0; // in the tree's file
        bool removed = false;
    };

    /// Reads all of `file`; an empty one is a tree that doesn't exist yet and gets `shape`.
    /// Throws bytes::FormatError for a damaged tree and for keys out of order.
    TreeEdit(const bytes::ByteSource& file, const char* name, const TreeShape& shape, Less less);
    TreeEdit(const TreeEdit&) = delete;
    TreeEdit& operator=(const TreeEdit&) = delete;

    uint32_t nodeSize() const { return m_shape.nodeSize; }
    /// Records as they are on the volume; those removed keep their place.
    const std::vector<Record>& records() const { return m_records; }
    /// The first record whose key isn't less than `key`.
    std::size_t lowerBound(Key key) const;
    /// The place of the record with this key, removed ones left out.
    std::optional<std::size_t> find(Key key) const;

    void remove(std::size_t place);
    /// Sets a value of the same length; an equal one changes nothing.
    void replace(std::size_t place, std::span<const std::byte> data);
    /// False when the tree has the key already.
    bool add(Key key, std::vector<std::byte> data);

    bool isChanged() const { return needsRebuild() || !m_replaced.empty(); }
    bool needsRebuild() const { return m_removed > 0 || !m_added.empty(); }

    /// Room in bytes that the changed tree takes: what it has where that is enough.
    uint64_t neededBytes() const;
    /// The same with spare nodes for the next edits, for a tree that must grow.
    uint64_t comfortableBytes(uint32_t blockSize) const;

    /// Hands out each part of the tree's file that changes. `fileBytes` is its size by now.
    using Sink = std::function<void(uint64_t offset, std::span<const std::byte>)>;
    void write(uint64_t fileBytes, const Sink& sink) const;

private:
    using Added =
        std::map<std::vector<std::byte>, std::vector<std::byte>, std::function<bool(Key, Key)>>;

    void feed(BTreeBuilder& builder) const;
    uint32_t nodesAt(unsigned fill) const;
    void writePatches(const Sink& sink) const;

    std::vector<std::byte> m_file;
    TreeShape m_shape;
    Less m_less;
    std::vector<Record> m_records;
    std::map<std::size_t, std::vector<std::byte>> m_replaced;
    Added m_added;
    std::size_t m_removed = 0;
};

} // namespace hfsplus
