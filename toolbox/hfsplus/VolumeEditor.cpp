#include "hfsplus/VolumeEditor.h"

#include "bytes/FormatError.h"
#include "hfsplus/EditSession.h"
#include "hfsplus/Journal.h"

namespace hfsplus {

NoSpaceOnVolume::NoSpaceOnVolume(uint64_t neededBytes, uint64_t freeBytes)
    : std::runtime_error("the volume has " + std::to_string(freeBytes)
        + " bytes free and the changes take " + std::to_string(neededBytes))
    , m_neededBytes(neededBytes)
    , m_freeBytes(freeBytes)
{ }

bool canBeEdited(const Volume& volume)
{
    const VolumeHeader& header = volume.header();
    try {
        if (volume.usesAlternateHeader() || journalHasEntries(volume.source(), header))
            return false;
        const uint64_t bits =
            volume.metadataFork(allocationFileID, header.allocationFile).size() * 8;
        if (bits < header.totalBlocks)
            return false;
        ForkStore forks(header.blockSize, BlockAllocator({}, 0, 0, {}), // blocks don't matter here
            volume.metadataFork(extentsFileID, header.extentsFile));
        CatalogEdit(volume.metadataFork(catalogFileID, header.catalogFile), header,
            volume.isCaseSensitive());
        AttributesEdit(volume.metadataFork(attributesFileID, header.attributesFile), forks,
            header.totalBlocks);
        return true;
    } catch (const bytes::FormatError&) {
        return false;
    }
}

VolumeEditor::VolumeEditor(bytes::ByteDevice& volume, std::filesystem::path folder,
    const FolderSnapshot& snapshot, EditOptions options)
    : m_volume(volume)
    , m_folder(std::move(folder))
    , m_snapshot(snapshot)
    , m_options(options)
{ }

EditReport VolumeEditor::apply()
{
    const HostFolder host = HostFolder::open(m_folder);
    const auto items = listFolder(host, m_snapshot, m_options.isUntouched);
    const Volume volume(m_volume);
    const auto isOneOfSeveral = [&](CatalogID id) {
        const auto entry = volume.entryWithID(id);
        return entry && entry->isHardLink();
    };
    const auto changes = FolderChanges::between(m_snapshot, items, isOneOfSeveral);
    if (changes.empty())
        return {};
    if (volume.usesAlternateHeader())
        throw bytes::FormatError("the volume's header is damaged; it can only be read");
    if (journalHasEntries(m_volume, volume.header()))
        throw bytes::FormatError("the volume's journal was not carried out; it can only be read");
    const uint64_t blockSize = volume.header().blockSize;
    EditSession session(m_volume, volume, host, m_snapshot, m_options);
    try {
        session.plan(changes);
    } catch (const BlockAllocator::NoSpaceCondition& condition) {
        throw NoSpaceOnVolume(condition.neededBlocks * blockSize, condition.freeBlocks * blockSize);
    }
    return session.write();
}

} // namespace hfsplus
