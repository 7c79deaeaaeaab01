#include "codesign/CodeDirectory.h"
#include "bytes/FormatError.h"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>

namespace {

using namespace codesign;
using bytes::FormatError;
using bytes::MemoryDevice;

/// 5000 bytes of code, an ad hoc tool with an empty requirement set.
CodeDirectory sampleDirectory()
{
    const MemoryDevice code{std::vector<std::byte>(5000, std::byte{0x41})};
    SuperBlob noRequirements;
    noRequirements.magic = Magic::requirementSet;

    CodeDirectory directory;
    directory.flags = flagAdhoc;
    directory.identifier = "com.example.tool";
    directory.codeLimit = code.size();
    directory.executableLimit = 4096;
    directory.executableFlags = 1;
    directory.specials[2] = digestOf(HashType::sha256, noRequirements.write());
    directory.codeHashes = pageDigests(HashType::sha256, code, code.size(), 4096);
    return directory;
}

TEST(CodeDirectory, MatchesTheKnownBytes)
{
    const Blob adhoc = sampleDirectory().write();
    EXPECT_EQ(adhoc.size(), 233U);
    EXPECT_EQ(hexOf(std::span(adhoc).first(40)),
        "fade0c02000000e90002040000000002000000a90000005800000002000000020000"
        "13882002000c");
    EXPECT_EQ(hexOf(digestOf(HashType::sha256, adhoc)),
        "588dd9042850de2c5d5f10b1cde2de4d4e69088735a617a93ee59268303f75c4");
    EXPECT_EQ(
        hexOf(shortCodeHash(adhoc, HashType::sha256)), "588dd9042850de2c5d5f10b1cde2de4d4e690887");

    CodeDirectory hardened = sampleDirectory();
    hardened.flags = flagRuntime;
    hardened.team = "ABCDE12345";
    hardened.runtime = 0x000E0000;
    const Blob blob = hardened.write();
    EXPECT_EQ(blob.size(), 252U);
    EXPECT_EQ(hexOf(digestOf(HashType::sha256, blob)),
        "3f49830dfa70017a1dbc95ae67a33e92349c77c0f5f701619b12e1bb986f65b0");
}

TEST(CodeDirectory, ReadsBackWhatItWrote)
{
    CodeDirectory written = sampleDirectory();
    written.team = "ABCDE12345";
    written.specials[7] = digestOf(HashType::sha256, {});
    CodeDirectory read = CodeDirectory::read(written.write());
    EXPECT_EQ(read.version(), written.version());
    read.readVersion = 0;
    EXPECT_EQ(read, written);
    EXPECT_EQ(read.special(Slot::resources), nullptr) << "an unused slot is all zero";
}

TEST(CodeDirectory, TakesTheLowestVersionThatHoldsEverything)
{
    CodeDirectory image;
    image.identifier = "MyApp-1";
    image.pageExponent = 0;
    image.codeHashes = digestOf(HashType::sha256, {});
    EXPECT_EQ(image.version(), 0x20100U);
    image.team = "ABCDE12345";
    EXPECT_EQ(image.version(), 0x20200U);
    image.codeLimit = uint64_t{5} << 32;
    EXPECT_EQ(image.version(), 0x20300U);
    EXPECT_EQ(CodeDirectory::read(image.write()).codeLimit, image.codeLimit);
    image.executableLimit = 1;
    EXPECT_EQ(image.version(), 0x20400U);
    image.runtime = 1;
    EXPECT_EQ(image.version(), 0x20500U);
}

TEST(CodeDirectory, RefusesDamageWithoutAFall)
{
    const Blob good = sampleDirectory().write();
    for (std::size_t length = 0; length < good.size(); ++length)
        EXPECT_THROW(CodeDirectory::read(std::span(good).first(length)), FormatError) << length;

    std::mt19937 random(7); // NOLINT(cert-msc32-c,cert-msc51-cpp): repeatable on purpose
    for (int round = 0; round < 20000; ++round) {
        Blob damaged = good;
        damaged[8 + random() % 80] = static_cast<std::byte>(random());
        try {
            CodeDirectory::read(damaged);
        } catch (const FormatError&) { }
    }
}

TEST(PageDigests, AgreeWithHashingEachPageAlone)
{
    std::vector<std::byte> data(3U << 20);
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): repeatable on purpose
    for (std::byte& byte : data)
        byte = static_cast<std::byte>(random());
    data.resize(data.size() - 1234);
    const MemoryDevice source{data};
    for (const uint64_t page : {4096UL, 16384UL}) {
        const auto all = pageDigests(HashType::sha1, source, data.size(), page);
        ASSERT_EQ(all.size(), (data.size() + page - 1) / page * 20);
        for (std::size_t i = 0; i * page < data.size(); i += 97) {
            const auto one = digestOf(HashType::sha1,
                std::span(data).subspan(
                    i * page, std::min<std::size_t>(page, data.size() - i * page)));
            EXPECT_TRUE(std::ranges::equal(one, std::span(all).subspan(i * 20, 20))) << i;
        }
    }
}

TEST(SuperBlob, KeepsItsPartsInOrderAndRefusesOddOnes)
{
    SuperBlob signature;
    signature.blobs[0x10000] = makeBlob(Magic::wrapper, {});
    signature.blobs[0] = sampleDirectory().write();
    signature.blobs[2] = makeBlob(Magic::requirementSet, std::vector<std::byte>(4));
    Blob raw = signature.write();
    EXPECT_EQ(SuperBlob::read(raw, Magic::embeddedSignature, true), signature);

    Blob roomy = raw;
    roomy.resize(raw.size() + 100);
    EXPECT_EQ(SuperBlob::read(roomy, Magic::embeddedSignature), signature);
    EXPECT_THROW(SuperBlob::read(raw, Magic::requirementSet), FormatError);
    for (std::size_t length = 0; length < raw.size(); ++length)
        EXPECT_THROW(
            SuperBlob::read(std::span(raw).first(length), Magic::embeddedSignature), FormatError);

    // Each index entry points four bytes further than it should.
    for (std::size_t entry = 0; entry < 3; ++entry) {
        Blob shifted = raw;
        shifted[12 + entry * 8 + 7] ^= std::byte{4};
        EXPECT_THROW(SuperBlob::read(shifted, Magic::embeddedSignature, true), FormatError);
    }
}

TEST(Flags, AreReadAndPrintedByName)
{
    EXPECT_EQ(flagsText(0), "0x0(none)");
    EXPECT_EQ(flagsText(0x10000), "0x10000(runtime)");
    EXPECT_EQ(flagsText(0x20002), "0x20002(adhoc,linker-signed)");
    EXPECT_EQ(flagsText(0x4), "0x4(?\?\?)");
    EXPECT_EQ(flagsFrom("runtime"), flagRuntime);
    EXPECT_EQ(flagsFrom("runt,library"), flagRuntime | flagLibraryValidation);
    EXPECT_EQ(flagsFrom("0x10000"), flagRuntime);
    EXPECT_THROW(flagsFrom("r"), std::invalid_argument) << "restrict or runtime";
    EXPECT_THROW(flagsFrom("adhoc"), std::invalid_argument) << "only no identity makes it so";
    EXPECT_THROW(flagsFrom("runtime,"), std::invalid_argument);
}

} // namespace
