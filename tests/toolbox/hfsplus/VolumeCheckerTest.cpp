#include "CatalogPatch.h"
#include "SampleVolume.h"
#include "bytes/ByteReader.h"
#include "bytes/Unicode.h"
#include "hfsplus/Volume.h"

#include <gtest/gtest.h>

using namespace hfsplus;

namespace {

using Device = bytes::MemoryDevice;

struct Row {
    const char* mistake;
    std::function<void(Device&)> make;
    const char* finding; // part of what is to be reported
};

/// One mistake in a sound volume must be reported as what it is.
void expectFindings(const std::vector<Row>& rows)
{
    const Device sound = SampleVolume::make();
    ASSERT_EQ(findingsOf(sound), "");
    for (const Row& row : rows) {
        Device device(sound.bytes());
        row.make(device);
        ASSERT_FALSE(device.bytes() == sound.bytes()) << row.mistake << ": changed nothing";
        EXPECT_NE(findingsOf(device).find(row.finding), std::string::npos)
            << row.mistake << ": " << findingsOf(device);
    }
}

template <typename Change>
std::function<void(Device&)> inHeader(Change change)
{
    return [change](Device& device) { patchHeader(device, change); };
}

template <typename Change>
std::function<void(Device&)> inFile(const char* name, Change change)
{
    return [=](Device& device) { patchFile(device, name, change); };
}

template <typename Change>
std::function<void(Device&)> inFolder(const char* name, Change change)
{
    return [=](Device& device) { patchFolder(device, name, change); };
}

template <typename Change>
std::function<void(Device&)> inCatalogHeader(Change change)
{
    return [=](Device& device) {
        patchRecord<TreeHeader>(device, catalogOffset(device) + headerRecordOffset, change);
    };
}

template <typename Change>
std::function<void(Device&)> inFirstLeaf(Change change)
{
    return [=](Device& device) {
        const uint64_t tree = catalogOffset(device);
        const auto header = recordIn<TreeHeader>(device, tree + headerRecordOffset);
        patchRecord<NodeDescriptor>(
            device, tree + uint64_t{header.firstLeafNode} * header.nodeSize, change);
    };
}

template <typename Change>
std::function<void(Device&)> inCatalogNode(uint32_t node, Change change)
{
    return [=](Device& device) {
        const uint64_t tree = catalogOffset(device);
        const auto header = recordIn<TreeHeader>(device, tree + headerRecordOffset);
        patchRecord<NodeDescriptor>(device, tree + uint64_t{node} * header.nodeSize, change);
    };
}

/// Sets the byte of the node map of the catalog that is so far `behind` its start.
std::function<void(Device&)> inCatalogMap(uint64_t behind, uint8_t value)
{
    return [=](Device& device) {
        device.writeAt(
            catalogOffset(device) + headerMapOffset + behind, std::array{std::byte{value}});
    };
}

/// The key of a record of `keyBytes` bytes says that something else is its parent.
void giveParent(Device& device, uint64_t record, std::size_t keyBytes, CatalogID parent)
{
    patchRecord<be32>(device, record - keyBytes + 2, [&](be32& stored) { stored = parent; });
}

std::function<void(Device&)> inAttribute(
    const char* name, const std::function<void(Device&, uint64_t record, std::size_t key)>& change)
{
    return [=](Device& device) {
        const VolumeHeader header = headerOf(device);
        const ForkReader file(device, header.blockSize,
            runsOf(header.attributesFile.extents, header.totalBlocks),
            header.attributesFile.logicalSize);
        const uint64_t start = offsetOf(device, header.attributesFile);
        uint64_t found = 0;
        std::size_t keyBytes = 0;
        BTreeReader(file, "attributes", maximumAttributeKey)
            .visitLeaves([&](const TreeRecord& record) {
                bytes::ByteReader units(record.key.subspan(sizeof(AttributeKeyHead)));
                if (bytes::utf8FromUtf16(units.utf16(units.remaining() / 2)) != name)
                    return;
                found = start + record.dataOffset;
                keyBytes = record.key.size();
            });
        ASSERT_NE(found, 0U) << name;
        change(device, found, keyBytes);
    };
}

/// Gives the extents tree, which is empty, one leaf with one record.
std::function<void(Device&)> withExtents(
    CatalogID file, uint8_t forkType, std::size_t dataBytes = sizeof(ExtentRecord))
{
    return [=](Device& device) {
        const uint64_t tree = offsetOf(device, headerOf(device).extentsFile);
        uint32_t nodeSize = 0;
        patchRecord<TreeHeader>(device, tree + headerRecordOffset, [&](TreeHeader& header) {
            nodeSize = header.nodeSize;
            header.treeDepth = uint16_t{1};
            header.rootNode = header.leafRecords = header.firstLeafNode = header.lastLeafNode = 1U;
            header.freeNodes = header.freeNodes - 1;
        });
        device.writeAt(tree + headerMapOffset, std::array{std::byte{0xC0}});
        const uint64_t leaf = tree + nodeSize;
        patchRecord<NodeDescriptor>(device, leaf, [](NodeDescriptor& node) {
            node.kind = leafNode;
            node.height = 1;
            node.numRecords = uint16_t{1};
        });
        const auto end =
            static_cast<uint16_t>(sizeof(NodeDescriptor) + sizeof(ExtentKey) + dataBytes);
        patchRecord<ExtentKey>(device, leaf + sizeof(NodeDescriptor), [&](ExtentKey& key) {
            key.keyLength = maximumExtentKey;
            key.forkType = forkType;
            key.fileID = file;
            key.startBlock = 8U;
        });
        patchRecord<be16>(device, leaf + nodeSize - 2,
            [](be16& offset) { offset = uint16_t{sizeof(NodeDescriptor)}; });
        patchRecord<be16>(device, leaf + nodeSize - 4, [&](be16& offset) { offset = end; });
    };
}

void setBitmapByte(Device& device, uint64_t at, std::byte value)
{
    device.writeAt(offsetOf(device, headerOf(device).allocationFile) + at, std::array{value});
}

/// The thread of a file is made to say something else.
template <typename Change>
std::function<void(Device&)> inThread(const char* name, Change change)
{
    return [=](Device& device) {
        const auto id = recordIn<CatalogFile>(device, recordOf(device, nameFromHost(name))).fileID;
        patchRecord<CatalogThread>(device, threadOf(device, id), change);
    };
}

} // namespace

TEST(VolumeChecker, MistakesInTheHeaderAreReported)
{
    expectFindings({
        {"file count", inHeader([](auto& h) { h.fileCount = h.fileCount + 1; }), "file count"},
        {"folder count", inHeader([](auto& h) { h.folderCount = 0U; }), "directory count"},
        {"free blocks", inHeader([](auto& h) { h.freeBlocks = 1U; }), "free block count"},
        {"next ID", inHeader([](auto& h) { h.nextCatalogID = 17U; }), "isn't below"},
        {"next ID of the system", inHeader([](auto& h) { h.nextCatalogID = 15U; }), "is too low"},
        {"encodings", inHeader([](auto& h) { h.encodingsBitmap = 0U; }), "text encodings"},
        {"no clump", inHeader([](auto& h) { h.dataClumpSize = 0U; }), "clump size of data"},
        {"odd clump", inHeader([](auto& h) { h.rsrcClumpSize = 1000U; }),
            "clump size of resource forks"},
        {"odd clump of the bitmap", inHeader([](auto& h) { h.allocationFile.clumpSize = 1U; }),
            "clump size of the allocation file"},
        {"odd clump of extents", inHeader([](auto& h) { h.extentsFile.clumpSize = 1U; }),
            "clump size of the extents file"},
        {"no clump of attributes", inHeader([](auto& h) { h.attributesFile.clumpSize = 0U; }),
            "clump size of the attributes file"},
        {"block size", inHeader([](auto& h) { h.blockSize = 1000U; }), "block size is 1000"},
        {"large clump", inHeader([](auto& h) { h.catalogFile.clumpSize = 1U << 30; }),
            "clump size of the catalog"},
        {"allocation start", inHeader([](auto& h) { h.nextAllocation = h.totalBlocks; }),
            "search starts"},
        {"too many blocks", inHeader([](auto& h) { h.totalBlocks = h.totalBlocks + 1; }),
            "the device has only"},
        {"too few blocks", inHeader([](auto& h) { h.totalBlocks = h.totalBlocks - 1; }),
            "more blocks than the volume"},
        {"not unmounted", inHeader([](auto& h) { h.attributes = 0x80000000U; }),
            "not unmounted cleanly"},
        {"no journal", inHeader([](auto& h) { h.attributes = h.attributes | volumeJournaled; }),
            "journal"},
        {"no dates", inHeader([](auto& h) { h.createDate = 0U; }), "dates"},
        {"version", inHeader([](auto& h) { h.version = uint16_t{5}; }), "signature or version"},
        {"no copy", [](Device& d) { d.writeAt(d.size() - 1024, std::vector<std::byte>(512)); },
            "alternate volume header: missing"},
        {"stale copy",
            [](Device& d) {
                patchRecord<VolumeHeader>(d, d.size() - 1024, [](auto& h) { h.writeCount = 99U; });
            },
            "alternate volume header: differs"},
    });
}

TEST(VolumeChecker, MistakesInTheBitmapAreReported)
{
    expectFindings({
        {"first block free", [](Device& d) { setBitmapByte(d, 0, std::byte{0x7F}); },
            "block 0 is marked free"},
        {"last block free",
            [](Device& d) {
                const uint32_t last = headerOf(d).totalBlocks - 1;
                setBitmapByte(d, last / 8, std::byte{0});
            },
            "is marked free, but the alternate"},
        {"a block nobody uses",
            [](Device& d) { setBitmapByte(d, headerOf(d).totalBlocks / 8 - 2, std::byte{0x01}); },
            "nothing uses it"},
        {"a bit behind the end", [](Device& d) { setBitmapByte(d, 4095, std::byte{1}); },
            "behind the last block"},
        {"too short", inHeader([](auto& h) { h.allocationFile.logicalSize = 0U; }), "too few bits"},
    });
}

TEST(VolumeChecker, MistakesInATreeAreReported)
{
    expectFindings({
        {"leaf records", inCatalogHeader([](auto& h) { h.leafRecords = 3U; }), "leaf record count"},
        {"free nodes", inCatalogHeader([](auto& h) { h.freeNodes = 0U; }), "free nodes"},
        {"longest key", inCatalogHeader([](auto& h) { h.maxKeyLength = uint16_t{10}; }),
            "longest key"},
        {"depth", inCatalogHeader([](auto& h) { h.treeDepth = uint16_t{5}; }), "node height"},
        {"order of names", inCatalogHeader([](auto& h) { h.keyCompareType = 1; }),
            "order of names"},
        {"first leaf", inCatalogHeader([](auto& h) { h.firstLeafNode = 2U; }),
            "first or last leaf"},
        {"node size", inCatalogHeader([](auto& h) { h.nodeSize = uint16_t{1000}; }), "nodes have"},
        {"more nodes", inCatalogHeader([](auto& h) { h.totalNodes = h.totalNodes + 1; }),
            "more nodes than the file has"},
        {"fewer nodes", inCatalogHeader([](auto& h) { h.totalNodes = h.totalNodes - 1; }),
            "doesn't fill the file"},
        {"short keys", inCatalogHeader([](auto& h) { h.attributes = 4U; }),
            "key lengths are short"},
        {"no root", inCatalogHeader([](auto& h) { h.rootNode = 0U; }), "without a root"},
        {"a root outside", inCatalogHeader([](auto& h) { h.rootNode = 1U << 20; }),
            "lies behind the tree's end"},
        {"kind of the header", inCatalogNode(0, [](auto& n) { n.kind = indexNode; }),
            "is no header node"},
        {"a leaf for the map", inCatalogNode(0, [](auto& n) { n.fLink = 1U; }), "is no map node"},
        {"a node that is free", inCatalogMap(0, 0x80), "is used, but marked free"},
        {"a node that isn't there", inCatalogMap(400, 1), "bits behind the tree's end"},
        {"an empty leaf", inFirstLeaf([](auto& n) { n.numRecords = uint16_t{0}; }),
            "has no records"},
        {"sibling link", inFirstLeaf([](auto& n) { n.bLink = 1U; }), "sibling link"},
        {"node height", inFirstLeaf([](auto& n) { n.height = 2; }), "height"},
        {"record count", inFirstLeaf([](auto& n) { n.numRecords = uint16_t{2000}; }),
            "record offsets"},
        {"a free node with leftovers",
            [](Device& d) {
                const ForkData& fork = headerOf(d).catalogFile;
                d.writeAt(catalogOffset(d) + fork.logicalSize - 100, std::array{std::byte{1}});
            },
            "not erased"},
        {"the node map",
            [](Device& d) { d.writeAt(catalogOffset(d) + 248, std::array{std::byte{0xFF}}); },
            "nothing leads there"},
        {"names out of order", [](Device& d) { replaceName(d, u"alias", u"zlias"); },
            "out of order"},
    });
}

TEST(VolumeChecker, AnIndexThatDisagreesWithItsNodesIsReported)
{
    const TemporaryFolder folder;
    for (int i = 0; i < 200; ++i)
        folder.write("file " + std::to_string(1000 + i), "");
    auto device = SampleVolume::build(folder);
    ASSERT_EQ(findingsOf(device), "");
    const uint64_t tree = catalogOffset(device);
    const auto header = recordIn<TreeHeader>(device, tree + headerRecordOffset);
    ASSERT_GT(header.treeDepth, 1);
    const uint64_t root = tree + uint64_t{header.rootNode} * header.nodeSize;
    const auto recordAt = [&](uint32_t index) {
        return root + recordIn<be16>(device, root + header.nodeSize - 2 * (index + 1));
    };
    const auto childAt = [&](uint32_t index) { // behind the key
        return recordAt(index) + 2 + recordIn<be16>(device, recordAt(index));
    };
    const Device sound(device.bytes());
    patchRecord<be32>(device, recordAt(1) + 2, [](be32& parent) { parent = parent + 1; });
    EXPECT_NE(findingsOf(device).find("index key"), std::string::npos) << findingsOf(device);
    device = Device(sound.bytes());
    const auto first = recordIn<be32>(device, childAt(0));
    patchRecord<be32>(device, childAt(1), [&](be32& child) { child = first; });
    EXPECT_NE(findingsOf(device).find("reached twice"), std::string::npos) << findingsOf(device);
}

TEST(VolumeChecker, MistakesInTheCatalogAreReported)
{
    expectFindings({
        {"valence", inFolder("App.app", [](auto& f) { f.valence = 99U; }), "should be 1"},
        {"thread flag of a folder", inFolder("empty", [](auto& f) { f.flags = uint16_t{2}; }),
            "thread flag of files"},
        {"no thread flag", inFile("tool", [](auto& f) { f.flags = uint16_t{0}; }),
            "lacks the thread flag"},
        {"link count", inFile("tool", [](auto& f) { f.permissions.special = 2U; }),
            "number of links"},
        {"type in a file's mode",
            inFile("tool", [](auto& f) { f.permissions.fileMode = uint16_t{0040755}; }),
            "BSD file type"},
        {"type in a folder's mode",
            inFolder("empty", [](auto& f) { f.permissions.fileMode = uint16_t{0100755}; }),
            "BSD file type"},
        {"no type of a link", inFile("alias", [](auto& f) { f.finderInfo.fill({}); }),
            "being a symbolic link"},
        {"a link's type on a file",
            inFile("tool",
                [](auto& f) {
                    const be32 type(symlinkType), creator(symlinkCreator);
                    std::ranges::copy(bytes::recordBytes(type), f.finderInfo.begin());
                    std::ranges::copy(bytes::recordBytes(creator), f.finderInfo.begin() + 4);
                }),
            "being a symbolic link"},
        {"an empty link", inFile("alias", [](auto& f) { f.dataFork.logicalSize = 0U; }),
            "target has no valid length"},
        {"no dates", inFile("tool", [](auto& f) { f.dates.contentMod = 0U; }), "no date"},
        {"an attribute without its flag",
            inFile("nothing", [](auto& f) { f.flags = recordThreadExists; }),
            "extended attributes: it has"},
        {"a flag without attributes", inFile("tool", [](auto& f) { f.flags = uint16_t{6}; }),
            "extended attributes: flagged"},
        {"a low ID", inFile("tool", [](auto& f) { f.fileID = 9U; }), "invalid file or directory"},
        {"an ID twice", inFile("tool", [](auto& f) { f.fileID = 17U; }), "used twice"},
        {"a thread's parent", inThread("tool", [](auto& t) { t.parentID = 2U; }),
            "its thread names the parent"},
        {"a thread's name", inThread("tool", [](auto& t) { t.nameUnits = uint16_t{3}; }),
            "has another name"},
        {"a thread's length", inThread("tool", [](auto& t) { t.nameUnits = uint16_t{3}; }),
            "has the wrong length"},
        {"a thread of something else",
            [](Device& d) {
                const auto id = recordIn<CatalogFile>(d, recordOf(d, u"tool")).fileID;
                giveParent(d, threadOf(d, id), sizeof(CatalogKeyHead), 5000);
            },
            "missing thread record"},
        {"a thread of nothing",
            [](Device& d) {
                const auto id = recordIn<CatalogFile>(d, recordOf(d, u"tool")).fileID;
                giveParent(d, threadOf(d, id), sizeof(CatalogKeyHead), 5000);
            },
            "none of the entries has id 5000"},
        {"a file for a parent",
            [](Device& d) {
                std::size_t key = 0;
                const uint64_t record = recordOf(d, u"tool", fileRecord, &key);
                giveParent(d, record, key, recordIn<CatalogFile>(d, recordOf(d, u"alias")).fileID);
            },
            "its parent is no folder"},
        {"an unknown record", inFile("tool", [](auto& f) { f.recordType = uint16_t{9}; }),
            "the unknown type 9"},
        {"a file that calls itself a folder",
            inFile("tool", [](auto& f) { f.recordType = folderRecord; }), "the wrong length"},
        {"a flag of other volumes",
            inFolder("empty", [](auto& f) { f.flags = recordHasFolderCount; }),
            "the flag of folder counts"},
        {"a count of other volumes", inFolder("empty", [](auto& f) { f.folderCount = 3U; }),
            "its folder count is wrong"},
        {"links of a shared file",
            [](Device& d) {
                const auto content = Volume(d).find("linked.plist")->contentID;
                patchFile(d, "iNode" + std::to_string(content),
                    [](CatalogFile& file) { file.permissions.special = 5U; });
            },
            "number of links: 5, should be 2"},
        {"an attribute of nobody", inFile("nothing", [](auto& f) { f.fileID = 5000U; }),
            "belongs to the missing id"},
        {"a thread's type", inThread("tool", [](auto& t) { t.recordType = folderThreadRecord; }),
            "thread is of the wrong type"},
        {"a composed name", [](Device& d) { replaceName(d, u"cafe\u0301/1", u"caf\u00E9/11"); },
            "not decomposed"},
        {"a colon on the disk", [](Device& d) { replaceName(d, u"cafe\u0301/1", u"cafe\u0301:1"); },
            "':'"},
        {"date of a hard link", inFile("linked.plist", [](auto& f) { f.dates.create = 5U; }),
            "hard link creation"},
        {"chain of hard links",
            inFile("linked.plist", [](auto& f) { f.permissions.groupID = f.fileID; }), "chain"},
        {"a hard link to nowhere",
            inFile("linked.plist", [](auto& f) { f.permissions.special = 9999U; }),
            "file is missing"},
    });
}

TEST(VolumeChecker, MistakesInForksAreReported)
{
    expectFindings({
        {"size", inFile("tool", [](auto& f) { f.dataFork.logicalSize = 1U << 30; }),
            "incorrect size"},
        {"block count", inFile("tool", [](auto& f) { f.dataFork.totalBlocks = 99U; }),
            "incorrect block count"},
        {"two users of a block",
            inFile("tool", [](auto& f) { f.dataFork.extents[0].startBlock = 0U; }),
            "overlapped extents: block 0"},
        {"outside the volume",
            inFile("tool", [](auto& f) { f.dataFork.extents[0].startBlock = UINT32_MAX; }),
            "leaves the volume"},
        {"a gap between extents",
            inFile("tool",
                [](auto& f) {
                    f.dataFork.extents[3] = {uint32_t{1}, uint32_t{1}};
                }),
            "follows an unused one"},
        {"further extents of no file", withExtents(5000, dataForkType),
            "record of file 5000 at block 8 belongs to no fork"},
        {"further extents of an unknown fork", withExtents(5000, 7), "fork of an unknown type"},
        {"further extents cut short", withExtents(5000, dataForkType, 60), "has the wrong length"},
    });
}

TEST(VolumeChecker, MistakesInAttributesAreReported)
{
    const char* const small = "com.example.small";
    const auto withType = [](uint32_t type) {
        return [type](Device& device, uint64_t record, std::size_t) {
            patchRecord<be32>(device, record, [&](be32& stored) { stored = type; });
        };
    };
    expectFindings({
        {"unknown type", inAttribute(small, withType(0x99)), "the unknown type 153"},
        {"extents of nothing", inAttribute(small, withType(attributeExtents)),
            "don't go on with it"},
        {"size",
            inAttribute(small,
                [](Device& device, uint64_t record, std::size_t) {
                    patchRecord<AttributeInlineHead>(
                        device, record, [](auto& head) { head.size = 40U; });
                }),
            "its size is 40, but its record has"},
        {"start",
            inAttribute(small,
                [](Device& device, uint64_t record, std::size_t key) {
                    patchRecord<AttributeKeyHead>(
                        device, record - key, [](auto& head) { head.startBlock = 1U; });
                }),
            "starts more than once"},
        {"2^40 bytes in a few blocks",
            inAttribute("com.example.large",
                [](Device& device, uint64_t record, std::size_t) {
                    patchRecord<AttributeForkRecord>(device, record,
                        [](auto& value) { value.fork.logicalSize = uint64_t{1} << 40; });
                }),
            "incorrect size: 1099511627776 bytes"},
    });
}

TEST(VolumeChecker, WhatAUsedVolumeShowsIsNoDamage)
{
    const auto makeLeftovers = [](Device& device) {
        const uint64_t tree = catalogOffset(device);
        const auto header = recordIn<TreeHeader>(device, tree + headerRecordOffset);
        const uint64_t node = tree + uint64_t{header.firstLeafNode} * header.nodeSize;
        const uint32_t count = recordIn<NodeDescriptor>(device, node).numRecords;
        const auto freeSpace = recordIn<be16>(device, node + header.nodeSize - 2 * (count + 1));
        device.writeAt(node + freeSpace, std::array{std::byte{1}});
    };
    const Row rows[] = {
        {"the copy of the header is old",
            [](Device& device) {
                patchRecord<VolumeHeader>(
                    device, device.size() - 1024, [](auto& h) { h.fileCount = 3U; });
            },
            "differs from the volume header"},
        {"attached while it was copied", inHeader([](auto& h) { h.attributes = 0x80000000U; }),
            "not unmounted cleanly"},
        {"a driver deleted a record", makeLeftovers, "leftovers"},
        {"a link without a type", inFile("alias", [](auto& f) { f.finderInfo = {}; }), "disagree"},
        {"a file from before threads", inFile("nothing", [](auto& f) { f.flags = uint16_t{4}; }),
            "lacks the thread flag"},
        {"a hard link without a chain",
            [](Device& device) {
                const auto content = Volume(device).find("linked.plist")->contentID;
                const std::string inode = "iNode" + std::to_string(content);
                for (const char* name : {"linked.plist", inode.c_str()})
                    patchFile(device, name, [](CatalogFile& file) {
                        file.flags = recordThreadExists;
                        file.reserved1 = 0U;
                    });
            },
            "lacks its flag"},
    };
    const Device sound = SampleVolume::make();
    for (const Row& row : rows) {
        Device device(sound.bytes());
        row.make(device);
        EXPECT_NE(findingsOf(device).find(row.finding), std::string::npos)
            << row.mistake << ": " << findingsOf(device);
        for (const Finding& finding : checkVolume(device))
            EXPECT_FALSE(finding.damage) << row.mistake << ": " << finding.message;
    }
}
