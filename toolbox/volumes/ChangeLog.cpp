#include "volumes/ChangeLog.h"

#include "bytes/FormatError.h"
#include "bytes/StoredInteger.h"

#include <algorithm>
#include <span>

namespace volumes {

namespace fs = std::filesystem;
using bytes::be64;

namespace {

/// The file is the bytes of all changes, a record for each, and this.
struct Trailer {
    be64 magic;
    be64 changeCount;
};
static_assert(sizeof(Trailer) == 16);

struct ChangeRecord {
    be64 offset, length, place;
};
static_assert(sizeof(ChangeRecord) == 24);

constexpr uint64_t trailerMagic = 0x76646D675F6C6F67; // "vdmg_log"
constexpr uint64_t pieceBytes = 1 << 20;

} // namespace

ChangeLog::ChangeLog(const bytes::ByteSource& disk, const fs::path& file)
    : m_disk(disk)
    , m_file(file)
{ }

void ChangeLog::readAt(uint64_t offset, std::span<std::byte> out) const
{
    m_disk.readAt(offset, out);
    for (const Change& change : m_changes) {
        const uint64_t first = std::max(offset, change.offset);
        const uint64_t end = std::min(offset + out.size(), change.offset + change.length);
        if (first < end) {
            const auto part = out.subspan(
                static_cast<std::size_t>(first - offset), static_cast<std::size_t>(end - first));
            m_file.file().readAt(change.place + (first - change.offset), part);
        }
    }
}

void ChangeLog::writeAt(uint64_t offset, std::span<const std::byte> in)
{
    if (offset > size() || size() - offset < in.size())
        throw bytes::FormatError("a change leaves the disk", offset);
    m_file.file().writeAt(m_end, in);
    m_changes.push_back({offset, in.size(), m_end});
    m_end += in.size();
}

void ChangeLog::commit()
{
    std::vector<ChangeRecord> records;
    records.reserve(m_changes.size());
    for (const Change& change : m_changes)
        records.push_back({change.offset, change.length, change.place});
    const auto raw = std::as_bytes(std::span(records));
    const Trailer trailer{trailerMagic, m_changes.size()};
    m_file.file().writeAt(m_end, raw);
    m_file.file().writeAt(m_end + raw.size(), bytes::recordBytes(trailer));
    m_file.commit(true);
}

std::vector<ChangeLog::Change> ChangeLog::readChanges(const bytes::File& file)
{
    const uint64_t size = file.size();
    if (size < sizeof(Trailer))
        throw bytes::FormatError("a log of changes has no end", size);
    const uint64_t recordsEnd = size - sizeof(Trailer);
    const auto trailer = bytes::recordAt<Trailer>(file.read(recordsEnd, sizeof(Trailer)));
    if (trailer.magic != trailerMagic || trailer.changeCount > recordsEnd / sizeof(ChangeRecord))
        throw bytes::FormatError("a log of changes is damaged", recordsEnd);

    const std::size_t recordBytes = trailer.changeCount * sizeof(ChangeRecord);
    const uint64_t recordsStart = recordsEnd - recordBytes;
    const std::vector<std::byte> raw = file.read(recordsStart, recordBytes);
    std::vector<Change> changes;
    for (std::size_t at = 0; at < raw.size(); at += sizeof(ChangeRecord)) {
        const auto record = bytes::recordAt<ChangeRecord>(std::span(raw).subspan(at));
        if (record.place > recordsStart || recordsStart - record.place < record.length)
            throw bytes::FormatError("a log of changes is damaged", recordsStart + at);
        changes.push_back({record.offset, record.length, record.place});
    }
    return changes;
}

void ChangeLog::carryOut(const fs::path& file, bytes::ByteDevice& disk)
{
    const auto log = bytes::File::open(file, bytes::File::Mode::read);
    const std::vector<Change> changes = readChanges(log);
    for (const Change& change : changes) {
        if (change.offset > disk.size() || disk.size() - change.offset < change.length)
            throw bytes::FormatError("a change leaves the disk", change.offset);
    }
    for (const Change& change : changes) {
        for (uint64_t done = 0; done < change.length; done += pieceBytes) {
            const uint64_t length = std::min(pieceBytes, change.length - done);
            disk.writeAt(change.offset + done,
                log.read(change.place + done, static_cast<std::size_t>(length)));
        }
    }
}

} // namespace volumes
