#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "macho/MachOFile.h"
#include "macho/SignatureSpace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

namespace {

using namespace macho;
using bytes::FormatError;
using bytes::MemoryDevice;

std::vector<std::byte> contentOf(const char* path)
{
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    return file.read(0, file.size());
}

MemoryDevice applied(const MemoryDevice& slice, const SlicePlan& plan)
{
    MemoryDevice out{std::vector<std::byte>(plan.size)};
    writePlanned(slice, plan, out, 0);
    return out;
}

TEST(MachOFile, ReadsBothSlicesOfAUniversalProgram)
{
    const MemoryDevice source{contentOf(SAMPLE_PROGRAM)};
    ASSERT_TRUE(MachOFile::isMachO(source));
    const MachOFile file = MachOFile::read(source);
    EXPECT_EQ(file.formatText(), "Mach-O universal (x86_64 arm64)");
    ASSERT_EQ(file.parts.size(), 2U);
    EXPECT_EQ(file.parts[file.nativePart()].slice.architecture.name(), "arm64");
    for (const auto& part : file.parts) {
        EXPECT_EQ(part.slice.fileType, FileType::execute);
        ASSERT_TRUE(part.slice.target);
        EXPECT_EQ(part.slice.target->platform, 1U);
        EXPECT_EQ(part.slice.target->minimum, 11U << 16);
        EXPECT_NE(part.slice.segment("__LINKEDIT"), nullptr);
    }
    // The linker signs for arm64 and leaves x86_64 alone.
    EXPECT_TRUE(file.parts[1].slice.signature);
    EXPECT_FALSE(file.parts[0].slice.signature);
}

TEST(SignatureSpace, IsAddedBehindTheCodeAndTakenAwayWithoutATrace)
{
    const MemoryDevice original{contentOf(SAMPLE_THIN)};
    const Slice before = Slice::read(original);
    ASSERT_FALSE(before.signature);

    const SlicePlan plan = planSignature(before, 18048);
    const MemoryDevice room = applied(original, plan);
    const Slice after = Slice::read(room);
    ASSERT_TRUE(after.signature);
    EXPECT_EQ(after.signature->offset % 16, 0U);
    EXPECT_EQ(after.signature->offset, signedLength(before));
    EXPECT_EQ(after.signature->offset + after.signature->room, after.size);
    const Segment& linkEdit = *after.segment("__LINKEDIT");
    EXPECT_EQ(linkEdit.fileOffset + linkEdit.fileSize, after.size);
    EXPECT_EQ(linkEdit.memorySize % 0x4000, 0U);
    EXPECT_GE(linkEdit.memorySize, linkEdit.fileSize);

    // Room for another size replaces the first: the signed bytes stay where they are.
    const MemoryDevice larger = applied(room, planSignature(after, 20000));
    EXPECT_EQ(Slice::read(larger).signature->offset, after.signature->offset);
    EXPECT_EQ(Slice::read(larger).commandCount, after.commandCount);

    Slice burdened = Slice::read(larger);
    burdened.size += 8;
    EXPECT_THROW(planSignature(burdened, 20000), FormatError) << "what follows would be lost";
    EXPECT_THROW(planRemoval(burdened), FormatError);

    const MemoryDevice bare = applied(larger, planRemoval(Slice::read(larger)));
    EXPECT_FALSE(Slice::read(bare).signature);
    ASSERT_EQ(bare.size(), original.size());
    // Only the memory size of __LINKEDIT, which a removal leaves alone, may differ.
    std::size_t different = 0;
    for (std::size_t i = 0; i < bare.bytes().size(); ++i)
        different += bare.bytes()[i] != original.bytes()[i];
    EXPECT_LE(different, 8U);
}

TEST(SignatureSpace, IsRefusedWhereTheHeaderHasNone)
{
    MemoryDevice source{contentOf(SAMPLE_THIN)};
    Slice slice = Slice::read(source);
    Segment& text = *std::ranges::find(slice.segments, "__TEXT", &Segment::name);
    text.firstSectionOffset = slice.head.size() + 8;
    EXPECT_THROW(planSignature(slice, 1024), FormatError);

    slice = Slice::read(source);
    const std::byte something{1};
    source.writeAt(slice.head.size() + 15, std::span(&something, 1));
    EXPECT_THROW(planSignature(Slice::read(source), 1024), FormatError)
        << "bytes that mean something stand where the command would go";

    std::erase_if(slice.segments, [](const Segment& s) { return s.name == "__LINKEDIT"; });
    EXPECT_THROW(planSignature(slice, 1024), FormatError);
}

TEST(FatLayout, StartsEverySliceOnAPageAndEndsWithTheLast)
{
    const FatLayout layout = fatLayout({{7, 3}, {0x0100000C, 0}}, {100, 20000});
    EXPECT_EQ(layout.offsets, (std::vector<uint64_t>{0x4000, 0x8000}));
    EXPECT_EQ(layout.fileSize, 0x8000U + 20000);
    EXPECT_EQ(layout.header.size(), 8U + 2 * 20);

    const FatLayout wide = fatLayout({{7, 3}, {0x0100000C, 0}}, {UINT32_MAX, 20000});
    EXPECT_EQ(wide.header.size(), 8U + 2 * 32) << "numbers beyond 4 GiB need the wide form";
}

TEST(MachOFile, RefusesDamageWithoutAFall)
{
    const std::vector<std::byte> good = contentOf(SAMPLE_PROGRAM);
    const auto read = [](std::vector<std::byte> raw) {
        try {
            const MemoryDevice source{std::move(raw)};
            if (!MachOFile::isMachO(source))
                return;
            for (const auto& part : MachOFile::read(source).parts) {
                planRemoval(part.slice);
                planSignature(part.slice, 4096);
            }
        } catch (const FormatError&) { }
    };

    for (std::size_t length = 0; length < good.size(); length += length < 600 ? 1 : 997)
        read({good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length)});

    std::mt19937 random(20261122); // NOLINT(cert-msc32-c,cert-msc51-cpp): repeatable on purpose
    for (int round = 0; round < 4000; ++round) {
        std::vector<std::byte> damaged = good;
        for (int flips = 0; flips < 3; ++flips) {
            // Heads are where the decisions are made.
            const std::size_t start = random() % 2 == 0 ? 0 : 0x4000;
            damaged[start + random() % 2000] = static_cast<std::byte>(random());
        }
        read(std::move(damaged));
    }
}

} // namespace
