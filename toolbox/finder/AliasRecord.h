#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace finder {

/// A file on a volume, by the facts of the volume's own catalog. Dates count seconds since 1904.
struct AliasTarget {
    std::string volumeName; // as a user reads it
    uint32_t volumeCreated = 0; // of the volume's header, local time
    int32_t zone = 0; // seconds from UTC to that local time; none in volumes that we make
    std::string path; // on the volume, "/.background/bg.png"
    uint32_t created = 0; // UTC
    std::optional<uint32_t> id; // catalog id
    /// Ids of the folders above, the nearest first, without the root; needed when `id` is known.
    std::vector<uint32_t> folderIDs;
};

/// An alias record of version 2: how the Finder remembers a file (Apple's Alias Manager; the layout
/// is known from records that the Finder wrote). Names and paths are UTF-8; names have the
/// Finder's spelling ('/' inside a name), paths the host's.
struct AliasRecord {
    static constexpr uint32_t unknownID = 0xFFFFFFFF;
    static constexpr uint32_t rootFolderID = 2;

    bool folder = false; // the target is one
    std::string volumeName;
    uint32_t volumeCreated = 0; // local time
    std::array<char, 2> fileSystem{'H', '+'};
    uint16_t diskType = 5; // ejectable
    uint32_t parentID = unknownID;
    std::string targetName;
    uint32_t targetID = unknownID;
    uint32_t targetCreated = 0; // local time
    uint32_t volumeAttributes = 0x0D02;
    std::array<char, 2> fileSystemID{};

    std::string folderName; // of the folder that holds the target
    std::optional<uint64_t> volumeCreatedUTC, targetCreatedUTC; // 1/65536 s since 1904
    std::vector<uint32_t> folderIDs; // nearest first
    std::string carbonPath; // "Demo:.background:" NUL "bg.png"
    std::string path; // on the volume
    std::string mountPoint;

    friend bool operator==(const AliasRecord&, const AliasRecord&) = default;
};

AliasRecord aliasTo(const AliasTarget& target);

/// Throws FormatError when it would pass 64 KiB.
std::vector<std::byte> writeAlias(const AliasRecord& alias);

/// Unknown tags are skipped. Throws FormatError for anything but a sound record of version 2.
AliasRecord readAlias(std::span<const std::byte> raw);

} // namespace finder
