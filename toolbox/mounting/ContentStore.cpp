#include "mounting/ContentStore.h"

#include "hfsplus/SparseCopy.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <system_error>

namespace mounting {

namespace fs = std::filesystem;
using bytes::File;

/// Keeps a node open for one call that may come without an open file.
class ContentStore::OpenNode {
public:
    OpenNode(ContentStore& store, Node& node)
        : m_store(store)
        , m_node(node)
    {
        m_store.open(m_node, Access::read);
    }
    ~OpenNode() { m_store.close(m_node, Access::read); }
    OpenNode(const OpenNode&) = delete;
    OpenNode& operator=(const OpenNode&) = delete;

private:
    ContentStore& m_store;
    Node& m_node;
};

ContentStore::ContentStore(const hfsplus::Volume& volume, fs::path scratchFolder)
    : m_volume(volume)
    , m_scratchFolder(std::move(scratchFolder))
    , m_blockSize(volume.header().blockSize)
    , m_freeBlocks(volume.header().freeBlocks)
{ }

void ContentStore::open(Node& node, Access access)
{
    ++node.opened;
    if (access == Access::write) {
        ++node.writers;
        ++m_writers;
    }
}

void ContentStore::close(Node& node, Access access)
{
    if (access == Access::write) {
        --node.writers;
        --m_writers;
    }
    if (--node.opened > 0)
        return;
    node.stored.reset();
    node.rewritten.reset();
}

std::size_t ContentStore::read(Node& node, uint64_t offset, std::span<std::byte> out)
{
    if (offset >= node.size)
        return 0;
    const OpenNode held(*this, node);
    const auto length =
        static_cast<std::size_t>(std::min<uint64_t>(out.size(), node.size - offset));
    if (node.isRewritten) {
        rewritten(node, node.size).readAt(offset, out.first(length));
    } else {
        if (!node.stored)
            node.stored = std::make_unique<hfsplus::ForkReader>(
                m_volume.dataFork(*m_volume.entryWithID(node.entry)));
        node.stored->readAt(offset, out.first(length));
    }
    return length;
}

void ContentStore::write(Node& node, uint64_t offset, std::span<const std::byte> in)
{
    if (in.size() > UINT64_MAX - offset)
        throw std::system_error(EFBIG, std::generic_category());
    const OpenNode held(*this, node);
    const uint64_t end = offset + in.size();
    File& file = rewritten(node, node.size);
    const uint64_t size = std::max(node.size, end);
    reserve(node, size);
    try {
        file.writeAt(offset, in);
    } catch (const std::system_error&) {
        giveBack(node, size, file);
        throw;
    }
    node.size = size;
    touch(node);
    node.modified = node.changed;
}

void ContentStore::resize(Node& node, uint64_t size)
{
    const OpenNode held(*this, node);
    File& file = rewritten(node, std::min(node.size, size));
    reserve(node, size);
    try {
        file.resize(size);
    } catch (const std::system_error&) {
        giveBack(node, size, file);
        throw;
    }
    node.size = size;
    touch(node);
    node.modified = node.changed;
}

void ContentStore::show(Node& node, std::span<const std::byte> content)
{
    const OpenNode held(*this, node);
    rewritten(node, 0).writeAt(0, content);
    node.size = content.size();
}

void ContentStore::drop(Node& node)
{
    if (!node.isFile())
        return;
    if (node.isRewritten) {
        m_freeBlocks += blocksOf(node.size);
        std::error_code gone;
        fs::remove(scratchFile(node), gone);
    } else if (const auto entry = m_volume.entryWithID(node.entry)) {
        m_freeBlocks += entry->dataFork.totalBlocks;
    }
}

/// The open file of the scratch folder. Made, if need be, with the first `keep` bytes of what the
/// volume has.
File& ContentStore::rewritten(Node& node, uint64_t keep)
{
    if (node.rewritten)
        return *node.rewritten;
    if (node.isRewritten) {
        node.rewritten =
            std::make_unique<File>(File::open(scratchFile(node), File::Mode::readWrite));
        return *node.rewritten;
    }
    fs::create_directory(m_scratchFolder);
    auto file = std::make_unique<File>(File::open(scratchFile(node), File::Mode::create));
    const auto entry = node.entry == 0 ? std::nullopt : m_volume.entryWithID(node.entry);
    try {
        if (entry && keep > 0) {
            const hfsplus::ForkReader stored = m_volume.dataFork(*entry);
            hfsplus::copySparse(bytes::SourceRange(stored, 0, keep), *file);
        }
        file->resize(node.size);
    } catch (...) {
        std::error_code gone;
        fs::remove(scratchFile(node), gone);
        throw;
    }
    m_freeBlocks += entry ? uint32_t{entry->dataFork.totalBlocks} : 0;
    m_freeBlocks -= std::min(m_freeBlocks, blocksOf(node.size));
    node.isRewritten = true;
    node.rewritten = std::move(file);
    return *node.rewritten;
}

fs::path ContentStore::scratchFile(const Node& node) const
{
    return m_scratchFolder / std::to_string(node.number);
}

uint64_t ContentStore::blocksOf(uint64_t size) const
{
    return size / m_blockSize + (size % m_blockSize != 0 ? 1 : 0);
}

void ContentStore::reserve(Node& node, uint64_t size)
{
    const uint64_t had = blocksOf(node.size), wanted = blocksOf(size);
    if (wanted > had && wanted - had > m_freeBlocks)
        throw std::system_error(ENOSPC, std::generic_category());
    m_freeBlocks = m_freeBlocks + had - wanted;
}

/// After the host has failed: what it may have written of it must not show when the file grows.
void ContentStore::giveBack(Node& node, uint64_t reserved, File& file)
{
    m_freeBlocks = m_freeBlocks + blocksOf(reserved) - blocksOf(node.size);
    try {
        file.resize(node.size);
    } catch (const std::system_error&) {
        // The first failure is the one to tell of.
    }
}

} // namespace mounting
