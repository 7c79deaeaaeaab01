#include "SampleBundle.h"
#include "bytes/FormatError.h"
#include "codesign/CodeError.h"
#include "codesign/CodeReport.h"
#include "codesign/CodeSigner.h"
#include "codesign/CodeVerifier.h"
#include "keychain/IdentityStore.h"
#include "keychain/LocalAuthority.h"
#include "keychain/LocalTimeStamper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <random>

namespace {

using namespace codesign;
namespace fs = std::filesystem;

/// One rehearsal identity for all tests of this file: making keys takes its time.
class IdentitySigning : public testing::Test {
protected:
    struct Authority {
        SampleBundle folder;
        keychain::IdentityStore store{folder.folder() / "state"};
        keychain::LocalAuthority authority{store};
        keychain::Identity identity = authority.createIdentity(store, "Jane Doe", "ABCDE12345");
        keychain::LocalTimeStamper stamper{authority};
        keychain::TrustedRoots roots = store.trustedRoots();
    };
    static void SetUpTestSuite() { s_authority = std::make_unique<Authority>(); }
    static void TearDownTestSuite() { s_authority.reset(); }

    static CodeSigner::Result sign(const fs::path& path, uint32_t flags = flagRuntime)
    {
        Signer signer;
        signer.identity = &s_authority->identity;
        signer.stamper = &s_authority->stamper;
        signer.flags = flags;
        return CodeSigner(signer, {.force = true, .deep = true}).sign(path);
    }

    static std::string fault(const fs::path& path)
    {
        try {
            const auto verdict =
                CodeVerifier(s_authority->roots).verify(path, {.deep = true, .strict = true});
            return verdict.meetsDesignated ? "" : "designated requirement";
        } catch (const std::exception& error) {
            return error.what();
        }
    }

    static std::unique_ptr<Authority> s_authority;
};

std::unique_ptr<IdentitySigning::Authority> IdentitySigning::s_authority;

TEST_F(IdentitySigning, ABundleIsSignedInsideOutByItsTeam)
{
    const SampleBundle sample;
    sign(sample.app());
    EXPECT_EQ(fault(sample.app()), "");
    EXPECT_EQ(fault(sample.framework()), "");

    const auto lines = reportOn(StaticCode::read(sample.app()), s_authority->roots, 2);
    const auto has = [&](const std::string& line) {
        return std::ranges::find(lines, line) != lines.end();
    };
    EXPECT_TRUE(has("Authority=Developer ID Application: Jane Doe (ABCDE12345)"));
    EXPECT_TRUE(has("TeamIdentifier=ABCDE12345"));
    EXPECT_TRUE(has("Runtime Version=13.0.0"));
    EXPECT_TRUE(std::ranges::any_of(
        lines, [](const std::string& line) { return line.starts_with("Timestamp="); }));
    EXPECT_EQ(designatedText(StaticCode::read(sample.framework())),
        requirementText(developerIdRequirement("com.vandordmg.samples.greeting", "ABCDE12345")));
}

TEST_F(IdentitySigning, NobodyElseTrustsIt)
{
    const SampleBundle sample;
    sign(sample.executable());
    const keychain::TrustedRoots nobody;
    try {
        CodeVerifier(nobody).verify(sample.executable(), {});
        FAIL();
    } catch (const CodeError& error) {
        EXPECT_STREQ(error.what(), "CSSMERR_TP_NOT_TRUSTED");
    }
}

TEST_F(IdentitySigning, NestedCodeOfAnotherSignerIsNoticed)
{
    const SampleBundle sample;
    sign(sample.app());
    CodeSigner(Signer{}, {.force = true}).sign(sample.framework());
    EXPECT_EQ(fault(sample.app()), message::nestedModified);
}

/// Where the used part of each slice's signature lies in the file: offset and length.
std::vector<std::pair<uint64_t, std::size_t>> signaturesIn(const fs::path& path)
{
    std::vector<std::pair<uint64_t, std::size_t>> places;
    const std::string whole = contentOf(path);
    const auto byte = [&](uint64_t at) {
        return std::size_t{static_cast<unsigned char>(whole.at(at))};
    };
    for (const StaticCode::Part& part : StaticCode::read(path).parts) {
        const uint64_t at = part.offset + part.slice.signature->offset;
        places.emplace_back(
            at, byte(at + 4) << 24 | byte(at + 5) << 16 | byte(at + 6) << 8 | byte(at + 7));
    }
    return places;
}

TEST_F(IdentitySigning, NoByteOfTheSignedPartsCanBeChanged)
{
    const SampleBundle sample;
    sign(sample.executable());
    const std::string whole = contentOf(sample.executable());
    const uint64_t place = signaturesIn(sample.executable()).front().first;
    // Up to the CMS data everything is covered, but for the whole's length: room follows it.
    constexpr std::size_t behindLength = 8;
    const EmbeddedSignature signature =
        *std::move(StaticCode::read(sample.executable()).parts.front().signature);
    const std::size_t covered = signature.parts.write().size() - signature.cms().size();
    for (std::size_t at = behindLength; at < covered; at += 3) {
        std::string damaged = whole;
        damaged[place + at] = static_cast<char>(damaged[place + at] ^ 0x01);
        putContent(sample.executable(), damaged);
        EXPECT_NE(fault(sample.executable()), "") << "byte " << at << " of " << covered;
    }
}

TEST_F(IdentitySigning, DamageNeverMakesTheReaderFall)
{
    const SampleBundle sample;
    sign(sample.executable());
    const std::string whole = contentOf(sample.executable());
    const auto places = signaturesIn(sample.executable());
    std::mt19937 random(11); // NOLINT(cert-msc32-c,cert-msc51-cpp): repeatable on purpose
    for (int round = 0; round < 150; ++round) {
        std::string damaged = whole;
        const auto& [at, length] = places[random() % places.size()];
        for (int flips = 0; flips < 4; ++flips) {
            const std::size_t where =
                random() % 3 == 0 ? random() % 0x5000 : at + random() % length;
            damaged[where] = static_cast<char>(random());
        }
        putContent(sample.executable(), damaged);
        fault(sample.executable());
        try {
            reportOn(StaticCode::read(sample.executable()), s_authority->roots, 4);
        } catch (const CodeError&) {
        } catch (const bytes::FormatError&) { }
    }
}

TEST_F(IdentitySigning, ADiskImageCarriesASignature)
{
    const SampleBundle sample;
    // The smallest thing that has a trailer: nothing but it.
    std::string image(2048, 'x');
    std::string trailer(512, '\0');
    trailer.replace(0, 12, std::string("koly\0\0\0\4\0\0\2\0", 12));
    const fs::path path = sample.folder() / "My App-1.2.dmg";
    putContent(path, image + trailer);

    EXPECT_EQ(sign(path, 0).code.identifier, "My App-1");
    EXPECT_EQ(fault(path), "");
    const std::string once = contentOf(path);
    EXPECT_EQ(once.substr(0, image.size()), image) << "nothing before the signature moves";
    EXPECT_EQ(sign(path, 0).replaced, CodeSigner::Replaced::signature);
    EXPECT_EQ(fault(path), "");

    for (const std::size_t at : {std::size_t{5}, image.size() + 60, once.size() - 512 + 40}) {
        const std::string good = contentOf(path);
        flip(path, at);
        EXPECT_NE(fault(path), "") << "byte " << at;
        putContent(path, good);
    }
    flip(path, image.size());
    EXPECT_EQ(sign(path, 0).replaced, CodeSigner::Replaced::brokenSignature);
    EXPECT_EQ(fault(path), "");
    removeSignature(path);
    EXPECT_EQ(contentOf(path), image + trailer);
}

TEST_F(IdentitySigning, OpenSslAcceptsTheCmsOverTheCodeDirectory)
{
    const SampleBundle sample;
    sign(sample.executable());
    const EmbeddedSignature signature =
        *std::move(StaticCode::read(sample.executable()).parts.front().signature);
    const auto put = [&](const char* name, std::span<const std::byte> content) {
        std::ofstream(sample.folder() / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(content.data()),
                static_cast<std::streamsize>(content.size()));
    };
    put("cms", signature.cms());
    put("directory", signature.primary().blob);
    std::ofstream(sample.folder() / "root.pem") << s_authority->authority.root().pem();

    const std::string command = "cd '" + sample.folder().string()
        + "' && openssl cms -verify -inform DER -in cms -content directory -binary -purpose any "
          "-ignore_critical -CAfile root.pem -out /dev/null 2>/dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0);
    flip(sample.folder() / "directory", 100);
    EXPECT_NE(std::system(command.c_str()), 0);
}

} // namespace
