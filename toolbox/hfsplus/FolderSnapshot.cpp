#include "hfsplus/FolderSnapshot.h"

#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"
#include "bytes/Crc32.h"
#include "bytes/File.h"

#include <algorithm>
#include <sys/stat.h>

namespace hfsplus {

namespace {

constexpr uint32_t snapshotMagic = 0x56464F4C; // "VFOL"
constexpr uint32_t snapshotVersion = 1;
/// Bytes of an item without its path.
constexpr std::size_t itemBytes = 4 + 4 + 4 * 8 + 4;

int64_t nanoseconds(const struct timespec& time)
{
    return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

} // namespace

FileFacts::FileFacts(const struct stat& status)
    : inode(status.st_ino)
    , size(S_ISDIR(status.st_mode) ? 0 : static_cast<uint64_t>(status.st_size))
    , modified(nanoseconds(status.st_mtim))
    , changed(nanoseconds(status.st_ctim))
    , mode(status.st_mode)
{ }

FolderSnapshot::FolderSnapshot(std::vector<Item> items)
    : m_items(std::move(items))
{
    std::ranges::sort(m_items, {}, &Item::path);
}

const FolderSnapshot::Item* FolderSnapshot::find(std::string_view path) const
{
    const auto found = std::ranges::lower_bound(
        m_items, path, {}, [](const Item& item) { return std::string_view(item.path); });
    return found != m_items.end() && found->path == path ? &*found : nullptr;
}

std::span<const FolderSnapshot::Item> FolderSnapshot::below(std::string_view prefix) const
{
    const auto starts = [](const Item& item) { return std::string_view(item.path); };
    if (prefix.empty())
        return std::span(m_items).subspan(std::min<std::size_t>(m_items.size(), 1));
    const auto first = std::ranges::lower_bound(m_items, prefix, {}, starts);
    const auto last = std::find_if_not(
        first, m_items.end(), [&](const Item& item) { return item.path.starts_with(prefix); });
    return {first, last};
}

std::vector<std::byte> FolderSnapshot::serialized() const
{
    bytes::ByteWriter out;
    out.u32(snapshotMagic);
    out.u32(snapshotVersion);
    out.u64(m_items.size());
    for (const Item& item : m_items) {
        out.u32(static_cast<uint32_t>(item.path.size()));
        out.text(item.path);
        out.u32(item.id);
        out.u64(item.facts.inode);
        out.u64(item.facts.size);
        out.u64(static_cast<uint64_t>(item.facts.modified));
        out.u64(static_cast<uint64_t>(item.facts.changed));
        out.u32(item.facts.mode);
    }
    out.u32(bytes::crc32(out.bytes()));
    return out.take();
}

FolderSnapshot FolderSnapshot::parse(std::span<const std::byte> raw)
{
    bytes::ByteReader in(raw);
    if (in.u32() != snapshotMagic || in.u32() != snapshotVersion)
        in.fail("no snapshot of a folder");
    const uint64_t count = in.u64();
    if (count > in.remaining() / itemBytes)
        in.fail("a snapshot is cut off");
    std::vector<Item> items(static_cast<std::size_t>(count));
    for (Item& item : items) {
        item.path = in.text(in.u32());
        item.id = in.u32();
        item.facts.inode = in.u64();
        item.facts.size = in.u64();
        item.facts.modified = static_cast<int64_t>(in.u64());
        item.facts.changed = static_cast<int64_t>(in.u64());
        item.facts.mode = in.u32();
    }
    const uint32_t crc = bytes::crc32(raw.first(in.mark()));
    if (in.u32() != crc || !in.atEnd())
        in.fail("a snapshot is damaged");
    if (std::ranges::adjacent_find(items, std::ranges::greater_equal(), &Item::path) != items.end())
        in.fail("a snapshot's paths are out of order");
    return FolderSnapshot(std::move(items));
}

void FolderSnapshot::save(const std::filesystem::path& path) const
{
    bytes::OutputFile output(path);
    output.file().writeAt(0, serialized());
    output.commit(true);
}

FolderSnapshot FolderSnapshot::load(const std::filesystem::path& path)
{
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    return parse(file.read(0, static_cast<std::size_t>(file.size())));
}

} // namespace hfsplus
