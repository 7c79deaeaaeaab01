#pragma once

#include "bytes/ByteWriter.h"
#include "hfsplus/BTreeReader.h"
#include "hfsplus/ForkReader.h"
#include "hfsplus/Names.h"
#include "hfsplus/TreeKeys.h"

#include <algorithm>
#include <functional>
#include <stdexcept>

/// Damage done to one record of a volume, right where it lies. The volumes here have trees of one
/// extent.

template <typename Record>
Record recordIn(const bytes::ByteSource& volume, uint64_t offset)
{
    return bytes::recordAt<Record>(volume.read(offset, sizeof(Record)));
}

inline hfsplus::VolumeHeader headerOf(const bytes::ByteSource& volume)
{
    return recordIn<hfsplus::VolumeHeader>(volume, hfsplus::volumeHeaderOffset);
}

template <typename Record, typename Change>
void patchRecord(bytes::ByteDevice& volume, uint64_t offset, Change change)
{
    auto record = recordIn<Record>(volume, offset);
    change(record);
    volume.writeAt(offset, bytes::recordBytes(record));
}

/// Changes the header and its copy alike.
template <typename Change>
void patchHeader(bytes::ByteDevice& volume, Change change)
{
    patchRecord<hfsplus::VolumeHeader>(volume, hfsplus::volumeHeaderOffset, change);
    volume.writeAt(volume.size() - hfsplus::alternateHeaderDistance,
        volume.read(hfsplus::volumeHeaderOffset, sizeof(hfsplus::VolumeHeader)));
}

inline uint64_t offsetOf(const bytes::ByteSource& volume, const hfsplus::ForkData& fork)
{
    return uint64_t{fork.extents[0].startBlock} * headerOf(volume).blockSize;
}

inline uint64_t catalogOffset(const bytes::ByteSource& volume)
{
    return offsetOf(volume, headerOf(volume).catalogFile);
}

/// Where the data of the first leaf record that `matches` lies in the volume; 0 for none. `key`
/// receives its key.
inline uint64_t findRecord(const bytes::ByteSource& volume,
    const std::function<bool(const hfsplus::TreeRecord&)>& matches, std::size_t* keyBytes = nullptr)
{
    const hfsplus::VolumeHeader header = headerOf(volume);
    const hfsplus::ForkReader file(volume, header.blockSize,
        hfsplus::runsOf(header.catalogFile.extents, header.totalBlocks),
        header.catalogFile.logicalSize);
    uint64_t found = 0;
    hfsplus::BTreeReader(file, "catalog", hfsplus::maximumCatalogKey)
        .visitLeaves([&](const hfsplus::TreeRecord& record) {
            if (found != 0 || !matches(record))
                return;
            found = catalogOffset(volume) + record.dataOffset;
            if (keyBytes)
                *keyBytes = record.key.size();
        });
    return found;
}

inline bool isOfType(const hfsplus::TreeRecord& record, uint16_t type)
{
    return bytes::recordAt<bytes::be16>(record.data) == type;
}

/// Where the file or folder record of `name` (as stored) lies.
inline uint64_t recordOf(const bytes::ByteSource& volume, std::u16string_view name,
    uint16_t type = hfsplus::fileRecord, std::size_t* keyBytes = nullptr)
{
    const uint64_t offset = findRecord(
        volume,
        [&](const hfsplus::TreeRecord& record) {
            return isOfType(record, type) && hfsplus::readCatalogKey(record.key).name == name;
        },
        keyBytes);
    if (offset == 0)
        throw std::logic_error("the sample has no such record");
    return offset;
}

template <typename Change>
void patchFile(bytes::ByteDevice& volume, std::string_view name, Change change)
{
    patchRecord<hfsplus::CatalogFile>(
        volume, recordOf(volume, hfsplus::nameFromHost(name)), change);
}

template <typename Change>
void patchFolder(bytes::ByteDevice& volume, std::string_view name, Change change)
{
    patchRecord<hfsplus::CatalogFolder>(
        volume, recordOf(volume, hfsplus::nameFromHost(name), hfsplus::folderRecord), change);
}

/// Where the thread of `id` lies.
inline uint64_t threadOf(const bytes::ByteSource& volume, hfsplus::CatalogID id)
{
    return findRecord(volume, [&](const hfsplus::TreeRecord& record) {
        return hfsplus::readCatalogKey(record.key).parent == id
            && (isOfType(record, hfsplus::folderThreadRecord)
                || isOfType(record, hfsplus::fileThreadRecord));
    });
}

/// Puts `after` in the place of the stored name `before`, which is as long. False when no record
/// has it.
inline bool replaceName(
    bytes::ByteDevice& volume, std::u16string_view before, std::u16string_view after)
{
    const uint64_t offset = findRecord(volume, [&](const hfsplus::TreeRecord& record) {
        return hfsplus::readCatalogKey(record.key).name == before;
    });
    bytes::ByteWriter units;
    units.utf16(after);
    if (offset != 0)
        volume.writeAt(offset - units.size(), units.bytes());
    return offset != 0 && before.size() == after.size();
}
