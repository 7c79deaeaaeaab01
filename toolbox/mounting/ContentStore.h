#pragma once

#include "hfsplus/Volume.h"
#include "mounting/Node.h"

#include <filesystem>
#include <span>

namespace mounting {

/// The bytes of a mounted volume's files: those that nobody writes to are read from the volume,
/// the others lie in a folder of the host, one file each. Counts blocks, so that a volume is full
/// when it would be full on a Mac. Throws std::system_error (ENOSPC, EFBIG and the host's).
class ContentStore {
public:
    /// `scratchFolder` is made with the first file in it. Borrows the volume.
    ContentStore(const hfsplus::Volume& volume, std::filesystem::path scratchFolder);

    enum class Access { read, write };
    /// Between these two the node keeps what it reads from open.
    void open(Node& node, Access access);
    void close(Node& node, Access access);
    /// Whether any node is open for writing.
    bool hasWriters() const { return m_writers > 0; }

    /// Bytes read: fewer than asked for at the end of the file.
    std::size_t read(Node& node, uint64_t offset, std::span<std::byte> out);
    void write(Node& node, uint64_t offset, std::span<const std::byte> in);
    void resize(Node& node, uint64_t size);
    /// The content of a node that the volume doesn't have as a file: it takes no blocks.
    void show(Node& node, std::span<const std::byte> content);
    /// The node is gone for good.
    void drop(Node& node);

    uint64_t freeBlocks() const { return m_freeBlocks; }

private:
    class OpenNode;
    bytes::File& rewritten(Node& node, uint64_t keep);
    std::filesystem::path scratchFile(const Node& node) const;
    uint64_t blocksOf(uint64_t size) const;
    void reserve(Node& node, uint64_t size);
    void giveBack(Node& node, uint64_t reserved, bytes::File& file);

    const hfsplus::Volume& m_volume;
    std::filesystem::path m_scratchFolder;
    uint64_t m_blockSize;
    uint64_t m_freeBlocks;
    uint64_t m_writers = 0;
};

} // namespace mounting
