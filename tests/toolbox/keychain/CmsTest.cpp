#include "keychain/Cms.h"
#include "KeychainBench.h"
#include "bytes/FormatError.h"
#include "keychain/CodeAttributes.h"
#include "keychain/LocalTimeStamper.h"
#include "keychain/TimeStampProtocol.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <iterator>

using namespace keychain;

namespace {

const std::vector<std::byte> codeDirectory = bytesOf(std::string(500, 'c'));

CodeHash hashOf(uint8_t type, const EVP_MD* kind)
{
    CodeHash made{type, std::vector<std::byte>(static_cast<std::size_t>(EVP_MD_get_size(kind)))};
    EVP_Digest(codeDirectory.data(), codeDirectory.size(),
        reinterpret_cast<unsigned char*>(made.full.data()), nullptr, kind, nullptr);
    return made;
}

const std::vector<CodeHash> oneHash{hashOf(2, EVP_sha256())};
const std::vector<CodeHash> twoHashes{hashOf(1, EVP_sha1()), hashOf(2, EVP_sha256())};

TrustedRoots rootsWith(const Certificate& root)
{
    TrustedRoots roots;
    roots.addRehearsalRoot(root);
    return roots;
}

std::vector<std::byte> signedAndStamped()
{
    const LocalTimeStamper stamper(Rehearsal::shared().authority);
    return signCode(Rehearsal::shared().identity, codeDirectory, oneHash, &stamper);
}

SignatureFacts read(const std::vector<std::byte>& cms)
{
    return readCodeSignature(cms, codeDirectory, oneHash, Rehearsal::shared().store.trustedRoots());
}

/// Stamps, but not what it was asked to.
class AbsentMinded final : public TimeStamper {
public:
    std::vector<std::byte> token(std::span<const std::byte> imprint) const override
    {
        std::vector<std::byte> other(imprint.rbegin(), imprint.rend());
        return LocalTimeStamper(Rehearsal::shared().authority).token(other);
    }
};

/// Stamps by a clock of its own.
class Untimely final : public TimeStamper {
public:
    explicit Untimely(std::chrono::seconds ahead)
        : m_ahead(ahead)
    { }
    std::vector<std::byte> token(std::span<const std::byte> imprint) const override
    {
        const TimeStampRequest request(imprint);
        return request.tokenOf(
            Rehearsal::shared().authority.timeStampResponse(request.der(), now() + m_ahead));
    }

private:
    std::chrono::seconds m_ahead;
};

class Unavailable final : public TimeStamper {
public:
    std::vector<std::byte> token(std::span<const std::byte>) const override
    {
        throw TimeStampUnavailable("switched off");
    }
};

} // namespace

TEST(CodeSignature, IsVerifiedByOpenSslItself)
{
    const TestAuthority elliptic;
    struct Row {
        const char* what;
        Identity identity;
        Certificate root;
        std::vector<CodeHash> hashes;
        bool stamped;
    };
    const Rehearsal& rehearsal = Rehearsal::shared();
    const Row rows[] = {
        {"RSA", rehearsal.identity, rehearsal.authority.root(), oneHash, false},
        {"RSA with a time stamp", rehearsal.identity, rehearsal.authority.root(), oneHash, true},
        {"two code directories", rehearsal.identity, rehearsal.authority.root(), twoHashes, true},
        {"elliptic key", elliptic.identity(), elliptic.root, twoHashes, false},
    };
    const LocalTimeStamper stamper(rehearsal.authority);
    const TemporaryFolder folder;
    for (const Row& row : rows) {
        const auto cms =
            signCode(row.identity, codeDirectory, row.hashes, row.stamped ? &stamper : nullptr);
        folder.write("cms", cms);
        folder.write("root.pem", row.root.pem());
        folder.write("code", codeDirectory);
        folder.write("other", bytesOf(std::string(499, 'c') + 'd'));
        const std::string command = "openssl cms -verify -inform DER -in cms -binary "
                                    "-CAfile root.pem -purpose any -ignore_critical -content ";
        EXPECT_EQ(folder.shell(command + "code"), 0) << row.what << ": " << folder.said;
        EXPECT_NE(folder.shell(command + "other"), 0) << row.what;

        const SignatureFacts facts =
            readCodeSignature(cms, codeDirectory, row.hashes, rootsWith(row.root));
        EXPECT_TRUE(facts.isIntact) << row.what << ": " << facts.fault;
        EXPECT_EQ(facts.trust, Trust::trusted) << row.what;
        EXPECT_EQ(facts.chain, row.identity.chain()) << row.what;
        EXPECT_EQ(facts.timestamp.has_value(), row.stamped) << row.what;
        ASSERT_TRUE(facts.signingTime) << row.what;
        EXPECT_LE(std::chrono::abs(now() - *facts.signingTime), std::chrono::minutes(1));
    }
}

TEST(CodeSignature, CarriesATokenThatOpenSslVerifies)
{
    const auto cms = signedAndStamped();
    const auto message = fromDer<CmsOwner>(cms, d2i_CMS_ContentInfo);
    CMS_SignerInfo* signer = sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(message.get()), 0);
    const auto text = [](const ASN1_STRING* string) {
        return std::string_view(reinterpret_cast<const char*>(ASN1_STRING_get0_data(string)),
            static_cast<std::size_t>(ASN1_STRING_length(string)));
    };
    const int at = CMS_unsigned_get_attr_by_NID(signer, NID_id_smime_aa_timeStampToken, -1);
    ASSERT_GE(at, 0);
    const ASN1_TYPE* token = X509_ATTRIBUTE_get0_type(CMS_unsigned_get_attr(signer, at), 0);
    const TemporaryFolder folder;
    folder.write("token", text(token->value.sequence));
    folder.write("signature", text(CMS_SignerInfo_get0_signature(signer)));
    folder.write("other", "something else");
    folder.write("root.pem", Rehearsal::shared().authority.root().pem());
    const std::string command = "openssl ts -verify -token_in -in token -CAfile root.pem -data ";
    EXPECT_EQ(folder.shell(command + "signature"), 0) << folder.said;
    EXPECT_NE(folder.shell(command + "other"), 0);
}

TEST(CodeSignature, ListsHashesInTheVeryFormOfAMac)
{
    // A literal ends at its zero byte, so the hash is put together from two.
    std::vector<std::byte> full = bytesOf("\xC9\x20\xCD\xDE\x49\x32");
    full.push_back(std::byte{0});
    const auto rest = bytesOf("\xD9\x66\xE5\xC5\x7F\x96\x14\xA2\x67\xB5\xF9\x94\x20 and not these");
    full.insert(full.end(), rest.begin(), rest.end());
    const std::vector<CodeHash> hashes{{2, full}};
    EXPECT_EQ(hashListOf(hashes),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
        "<plist version=\"1.0\">\n<dict>\n\t<key>cdhashes</key>\n\t<array>\n"
        "\t\t<data>\n\t\tySDN3kkyANlm5cV/lhSiZ7X5lCA=\n\t\t</data>\n"
        "\t</array>\n</dict>\n</plist>\n");
    EXPECT_TRUE(isHashListOf(
        "<plist><dict><key>cdhashes</key><array><data>ySDN3kky ANlm5cV/lhSiZ7X5lCA=</data>",
        hashes))
        << "whatever the indentation";
    EXPECT_FALSE(isHashListOf("<key>cdhashes</key><data>ySDN3kkyANlm5cV/lhSiZ7X5lCA=", hashes));
    EXPECT_FALSE(isHashListOf("<data>ySDN3kkyANlm5cV/lhSiZ7X5lCA=</data>", hashes));
}

TEST(CodeSignature, NamesTheHashesOfAllCodeDirectories)
{
    auto longTail = oneHash;
    longTail[0].full.back() ^= std::byte{1};
    auto head = oneHash;
    head[0].full.front() ^= std::byte{1};
    const std::vector<CodeHash> swapped{twoHashes[1], twoHashes[0]};
    const std::vector<CodeHash> doubled{oneHash[0], oneHash[0]};
    auto otherKind = oneHash;
    otherKind[0].hashType = 3;
    auto unknownKind = oneHash;
    unknownKind[0].hashType = 9;
    struct Row {
        const char* what;
        std::vector<CodeHash> made, present;
        bool isIntact;
    };
    const Row rows[] = {
        {"as signed", twoHashes, twoHashes, true},
        {"another hash in both attributes", head, oneHash, false},
        {"a difference behind the twentieth byte", longTail, oneHash, false},
        {"one code directory was taken away", twoHashes, oneHash, false},
        {"one was added", oneHash, twoHashes, false},
        {"in another order", swapped, twoHashes, false},
        {"a second entry for the same", doubled, oneHash, false},
        {"a kind that is spelled alike", otherKind, oneHash, true},
        {"a kind that nobody knows", oneHash, unknownKind, false},
    };
    const Rehearsal& rehearsal = Rehearsal::shared();
    for (const Row& row : rows) {
        const auto cms = signCode(rehearsal.identity, codeDirectory, row.made);
        const SignatureFacts facts =
            readCodeSignature(cms, codeDirectory, row.present, rehearsal.store.trustedRoots());
        EXPECT_EQ(facts.isIntact, row.isIntact) << row.what << ": " << facts.fault;
    }
    EXPECT_THROW(signCode(rehearsal.identity, codeDirectory, unknownKind), CryptoError);
}

TEST(CodeSignature, IsWorthWhatItsChainIsWorth)
{
    const Rehearsal& rehearsal = Rehearsal::shared();
    const auto cms = signedAndStamped();
    const auto factsWith = [&](const TrustedRoots& roots) {
        return readCodeSignature(cms, codeDirectory, oneHash, roots);
    };
    const SignatureFacts strange = factsWith(TrustedRoots());
    EXPECT_TRUE(strange.isIntact);
    EXPECT_EQ(strange.trust, Trust::notTrusted);
    EXPECT_EQ(strange.stampState, StampState::notTrusted);
    EXPECT_FALSE(strange.timestamp);

    for (const Certificate& certificate : rehearsal.identity.chain()) {
        TrustedRoots roots = rehearsal.store.trustedRoots();
        roots.revoke(certificate.fingerprint());
        EXPECT_EQ(factsWith(roots).trust, Trust::revoked) << certificate.commonName();
    }
    Identity incomplete = rehearsal.identity;
    incomplete.issuers.pop_back();
    EXPECT_THROW(signCode(incomplete, codeDirectory, oneHash), CryptoError);
}

TEST(CodeSignature, HeedsTheDatesAtTheTimeOfSigning)
{
    const TestAuthority authority;
    const Identity expired = authority.identity(
        {.startsBeforeNow = std::chrono::days(20), .lifetime = std::chrono::days(5)});
    const auto cms = signCode(expired, codeDirectory, oneHash);
    const TrustedRoots roots = rootsWith(authority.root);
    EXPECT_EQ(readCodeSignature(cms, codeDirectory, oneHash, roots).trust, Trust::expired);
    EXPECT_EQ(roots.trustOf(expired.chain(), now() - std::chrono::days(16)), Trust::trusted);
    EXPECT_EQ(roots.trustOf(expired.chain(), now() - std::chrono::days(21)), Trust::notYetValid);
}

TEST(CodeSignature, IsForSignersOfCodeOnly)
{
    const TestAuthority authority;
    struct Row {
        const char* usage;
        Trust trust;
    };
    const Row rows[] = {{"critical,codeSigning", Trust::trusted},
        {"serverAuth,codeSigning", Trust::trusted}, {"serverAuth", Trust::notTrusted},
        {"critical,timeStamping", Trust::notTrusted}};
    for (const Row& row : rows) {
        const Identity signer = authority.identity({.usage = {{"extendedKeyUsage", row.usage}}});
        const auto facts = readCodeSignature(signCode(signer, codeDirectory, oneHash),
            codeDirectory, oneHash, rootsWith(authority.root));
        EXPECT_TRUE(facts.isIntact) << row.usage;
        EXPECT_EQ(facts.trust, row.trust) << row.usage;
    }
}

TEST(CodeSignature, IsNotMadeByAClockThatIsFarOff)
{
    const Identity& identity = Rehearsal::shared().identity;
    for (const std::chrono::minutes ahead : {std::chrono::hours(1), -std::chrono::hours(1)}) {
        const Untimely stamper(ahead);
        EXPECT_THROW(signCode(identity, codeDirectory, oneHash, &stamper), TimeStampMismatch);
    }
    const Untimely nearly(std::chrono::seconds(60));
    EXPECT_EQ(
        read(signCode(identity, codeDirectory, oneHash, &nearly)).stampState, StampState::trusted);
}

TEST(CodeSignature, IsNotFooledByOtherPeoplesStamps)
{
    const AbsentMinded stamper;
    const SignatureFacts facts =
        read(signCode(Rehearsal::shared().identity, codeDirectory, oneHash, &stamper));
    EXPECT_TRUE(facts.isIntact);
    EXPECT_EQ(facts.stampState, StampState::broken);
    EXPECT_FALSE(facts.timestamp);

    const Unavailable off;
    EXPECT_THROW(
        signCode(Rehearsal::shared().identity, codeDirectory, oneHash, &off), TimeStampUnavailable);
}

TEST(CodeSignature, ThatBringsItsOwnContentIsRefused)
{
    const Identity& identity = Rehearsal::shared().identity;
    const BioOwner content = readingFrom(codeDirectory);
    const CmsOwner cms(CMS_sign(
        identity.certificate.get(), identity.key.get(), nullptr, content.get(), CMS_BINARY));
    ASSERT_TRUE(cms);
    const SignatureFacts facts = read(derOf(cms.get(), i2d_CMS_ContentInfo));
    EXPECT_FALSE(facts.isIntact);
}

TEST(CodeSignature, ThatNamesAnUnknownDigestFitsNothing)
{
    auto cms = signedAndStamped();
    const std::vector<std::byte> sha256 = bytesOf("\x60\x86\x48\x01\x65\x03\x04\x02\x01");
    const auto first = std::ranges::search(cms, sha256);
    ASSERT_FALSE(first.empty());
    *std::prev(first.end()) = std::byte{0x7F};
    EXPECT_FALSE(read(cms).fault.empty());
}

TEST(CodeSignature, EveryFlippedByteIsNoticedOrSaysNothing)
{
    const auto cms = signedAndStamped();
    const SignatureFacts whole = read(cms);
    ASSERT_TRUE(whole.isIntact) << whole.fault;
    ASSERT_EQ(whole.stampState, StampState::trusted);
    int noticed = 0;
    int silent = 0;
    for (std::size_t at = 0; at < cms.size(); at += 11) {
        auto damaged = cms;
        damaged[at] ^= std::byte{0x41};
        try {
            const SignatureFacts facts = read(damaged);
            const bool isAsBefore = facts.isIntact && facts.trust == Trust::trusted
                && facts.stampState == StampState::trusted;
            if (!isAsBefore) {
                ++noticed;
                continue;
            }
            ++silent;
            EXPECT_EQ(facts.chain, whole.chain) << at;
            EXPECT_EQ(facts.signingTime, whole.signingTime) << at;
            EXPECT_EQ(facts.timestamp, whole.timestamp) << at;
        } catch (const bytes::FormatError&) {
            ++noticed;
        }
    }
    // Outside every signature lie a few algorithm names and certificates that nobody needs.
    EXPECT_LT(silent * 3, noticed) << silent << " of " << silent + noticed;
}

TEST(CodeSignature, CutOffAnywhereIsNoSignature)
{
    const auto cms = signedAndStamped();
    for (std::size_t length = 0; length < cms.size(); length += 61)
        EXPECT_THROW(read({cms.begin(), cms.begin() + static_cast<std::ptrdiff_t>(length)}),
            bytes::FormatError)
            << length;
}
