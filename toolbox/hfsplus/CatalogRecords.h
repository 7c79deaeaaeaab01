#pragma once

#include "hfsplus/VolumeRecords.h"

#include <span>
#include <string_view>

/// What the catalog says of files and folders (Apple TN1150, "Catalog File").
namespace hfsplus {

inline constexpr uint16_t folderRecord = 1, fileRecord = 2, folderThreadRecord = 3,
                          fileThreadRecord = 4;
/// Flags of catalog records. A file has a thread flag, a folder must not.
inline constexpr uint16_t recordThreadExists = 2, recordHasAttributes = 4, recordHasACL = 8,
                          recordHasFolderCount = 0x10, recordHasLinkChain = 0x20;
inline constexpr uint16_t finderInited = 0x0100, finderCustomIcon = 0x0400,
                          finderNameLocked = 0x1000, finderInvisible = 0x4000;

struct BSDInfo {
    be32 ownerID, groupID;
    uint8_t adminFlags, ownerFlags;
    be16 fileMode; // st_mode, type included
    be32 special; // link count; of a link the inode's number; of a device its number
    bool operator==(const BSDInfo&) const = default;
};
static_assert(sizeof(BSDInfo) == 16 && isStoredRecord<BSDInfo>);

struct RecordDates {
    be32 create, contentMod, attributeMod, access, backup;
    bool operator==(const RecordDates&) const = default;
};
static_assert(sizeof(RecordDates) == 20 && isStoredRecord<RecordDates>);

/// A folder's record in the catalog.
struct CatalogFolder {
    be16 recordType, flags;
    be32 valence; // direct children
    be32 folderID;
    RecordDates dates;
    BSDInfo permissions;
    std::array<std::byte, 32> finderInfo; // what com.apple.FinderInfo shows
    be32 textEncoding;
    be32 folderCount; // only with recordHasFolderCount
};
static_assert(sizeof(CatalogFolder) == 88 && isStoredRecord<CatalogFolder>);

/// A file's record in the catalog; a symbolic link is a file whose data is its target.
struct CatalogFile {
    be16 recordType, flags;
    be32 reserved1; // of a link's inode the first link's ID
    be32 fileID;
    RecordDates dates;
    BSDInfo permissions;
    std::array<std::byte, 32> finderInfo;
    be32 textEncoding, reserved2;
    ForkData dataFork, resourceFork;
};
static_assert(sizeof(CatalogFile) == 248 && isStoredRecord<CatalogFile>);

/// The fixed head of a thread record; `nameUnits` UTF-16BE units follow.
struct CatalogThread {
    be16 recordType, reserved;
    be32 parentID;
    be16 nameUnits;
};
static_assert(sizeof(CatalogThread) == 10 && isStoredRecord<CatalogThread>);

inline constexpr uint32_t fourCharCode(const char (&code)[5])
{
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | static_cast<uint8_t>(code[i]);
    return value;
}

inline constexpr uint32_t symlinkType = fourCharCode("slnk"), symlinkCreator = fourCharCode("rhap"),
                          hardLinkType = fourCharCode("hlnk"),
                          hardLinkCreator = fourCharCode("hfs+");

/// The Finder information of a file begins with its type and its creator.
inline bool hasTypeAndCreator(const CatalogFile& file, uint32_t type, uint32_t creator)
{
    const std::span<const std::byte> info = file.finderInfo;
    return bytes::recordAt<be32>(info) == type && bytes::recordAt<be32>(info.subspan(4)) == creator;
}

/// True for a name that leads to a file in the volume's private folder.
inline bool isHardLink(const CatalogFile& file)
{
    return hasTypeAndCreator(file, hardLinkType, hardLinkCreator);
}

/// Where the files behind hard links live (Apple TN1150, "Hard Links"), in the root folder; the
/// second is for links to folders.
inline constexpr std::u16string_view privateFolderName{u"\0\0\0\0HFS+ Private Data", 21},
    privateDirectoryName = u".HFS+ Private Directory Data\r";

} // namespace hfsplus
