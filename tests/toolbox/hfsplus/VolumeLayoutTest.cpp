#include "hfsplus/VolumeLayout.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <system_error>

using namespace hfsplus;

TEST(VolumeLayout, PartsFollowOneAnotherAndFillTheVolume)
{
    const struct {
        const char* what;
        VolumeNeeds needs;
        uint32_t headBlocks, tailBlocks;
    } rows[] = {
        {"the usual blocks",
            {.blockSize = 4096,
                .extentsTree = 32768,
                .catalogTree = 65536,
                .contentBlocks = 1000,
                .slack = 1 << 20},
            1, 1},
        {"the smallest blocks",
            {.blockSize = 512,
                .extentsTree = 32768,
                .attributesTree = 65536,
                .catalogTree = 65536,
                .contentBlocks = 100000},
            3, 2},
        {"blocks of the header's size",
            {.blockSize = 1024, .extentsTree = 32768, .catalogTree = 65536, .contentBlocks = 70000},
            2, 1},
        {"blocks larger than trees",
            {.blockSize = 65536, .extentsTree = 32768, .catalogTree = 65536, .contentBlocks = 3}, 1,
            1},
        {"a bitmap of many blocks",
            {.blockSize = 4096,
                .extentsTree = 32768,
                .catalogTree = 65536,
                .contentBlocks = 40'000'000},
            1, 1},
        {"a bitmap that pushes itself over its block",
            {.blockSize = 4096,
                .extentsTree = 32768,
                .catalogTree = 65536,
                .contentBlocks = 32768 - 8 - 16 - 3},
            1, 1},
        {"a wanted size",
            {.blockSize = 4096,
                .extentsTree = 32768,
                .catalogTree = 65536,
                .contentBlocks = 3,
                .wantedSize = 512'000'000},
            1, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const VolumeLayout layout = VolumeLayout::forNeeds(row.needs);
        EXPECT_EQ(layout.bitmap.start, row.headBlocks);
        EXPECT_EQ(layout.extentsTree.start, layout.bitmap.end());
        EXPECT_EQ(layout.attributesTree.start, layout.extentsTree.end());
        EXPECT_EQ(layout.catalogTree.start, layout.attributesTree.end());
        EXPECT_EQ(layout.content.start, layout.catalogTree.end());
        EXPECT_EQ(layout.content.count, row.needs.contentBlocks);
        EXPECT_EQ(layout.tailBlocks(), row.tailBlocks);
        EXPECT_EQ(layout.content.end() + layout.freeBlocks + row.tailBlocks, layout.totalBlocks);
        EXPECT_GE(uint64_t{layout.freeBlocks} * layout.blockSize, row.needs.slack);
        // As many bits as blocks, and no block of the bitmap in vain.
        const uint64_t bits = uint64_t{layout.bitmap.count} * layout.blockSize * 8;
        EXPECT_GE(bits, layout.totalBlocks);
        EXPECT_LT(bits - layout.totalBlocks, uint64_t{layout.blockSize} * 8);
        EXPECT_GE(layout.volumeBytes(), 1U << 20);
        if (row.needs.wantedSize != 0) {
            EXPECT_EQ(layout.volumeBytes(), row.needs.wantedSize / 4096 * 4096);
        }
        EXPECT_EQ(layout.clumpSize() % layout.blockSize, 0U);
        EXPECT_LE(layout.clumpSize(), uint64_t{layout.totalBlocks / 4} * layout.blockSize);
    }
}

TEST(VolumeLayout, WhatDoesNotFitIsRefused)
{
    const struct {
        const char* what;
        VolumeNeeds needs;
        int error;
    } rows[] = {
        {"a wanted size below the content's", {.contentBlocks = 1000, .wantedSize = 1000 * 4096},
            ENOSPC},
        {"a wanted size without room for the slack",
            {.contentBlocks = 100, .slack = 10 << 20, .wantedSize = 5 << 20}, ENOSPC},
        {"more blocks than 32 bits number", {.contentBlocks = UINT32_MAX, .slack = 1 << 20}, EFBIG},
    };
    for (const auto& row : rows) {
        try {
            VolumeLayout::forNeeds(row.needs);
            ADD_FAILURE() << row.what;
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code().value(), row.error) << row.what;
        }
    }
}

TEST(VolumeLayout, ForksHoldTheirBytes)
{
    const VolumeLayout layout = VolumeLayout::forNeeds({.contentBlocks = 10});
    EXPECT_EQ(layout.fork(0, 5), ForkData{});
    const struct {
        uint64_t size;
        uint32_t blocks;
    } rows[] = {{1, 1}, {4096, 1}, {4097, 2}, {uint64_t{5} << 30, 5U << 18}};
    for (const auto& row : rows) {
        const ForkData fork = layout.fork(row.size, 5);
        EXPECT_EQ(fork.logicalSize, row.size);
        EXPECT_EQ(fork.totalBlocks, row.blocks);
        EXPECT_EQ(fork.extents[0], (ExtentDescriptor{5U, row.blocks}));
        EXPECT_EQ(fork.extents[1], ExtentDescriptor{});
    }
}
