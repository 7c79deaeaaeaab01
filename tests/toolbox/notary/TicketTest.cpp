#include "NotaryBench.h"
#include "bytes/FormatError.h"
#include "keychain/TrustedRoots.h"
#include "notary/TicketAuthority.h"

#include <gtest/gtest.h>

namespace {

using notary::Ticket;
using notary::TicketAuthority;
using notary::TicketHash;
using notary::TicketStore;

using Bytes = std::vector<std::byte>;

TicketHash hashOf(uint8_t first)
{
    TicketHash hash;
    hash.value[0] = std::byte{first};
    hash.value[19] = std::byte{0xEE};
    return hash;
}

/// A ticket for two pieces of code, in a store of its own.
struct Issued {
    NotaryBench bench;
    TicketStore store{NotaryBench::state()};
    std::vector<TicketHash> hashes{hashOf(1), hashOf(2)};
    Bytes raw = TicketAuthority(store).issue(store, hashes);
    std::size_t chainLength = numberAt(8), contentLength = numberAt(12);

    std::size_t numberAt(std::size_t place) const
    {
        std::size_t number = 0;
        for (std::size_t i = 4; i > 0; --i)
            number = number << 8 | std::to_integer<std::size_t>(raw.at(place + i - 1));
        return number;
    }
    std::string textOf(std::size_t from, std::size_t length) const
    {
        return {reinterpret_cast<const char*>(raw.data()) + from, length};
    }
};

TEST(Ticket, HasTheLayoutOfThePublicOnes)
{
    const Issued issued;
    EXPECT_EQ(issued.textOf(0, 8), std::string("s8ch\1\0\0\0", 8));
    EXPECT_EQ(issued.contentLength, 24U + 2 * 21);
    EXPECT_EQ(issued.raw.size(), 16 + issued.chainLength + issued.contentLength + 72);
    const std::size_t content = 16 + issued.chainLength;
    EXPECT_EQ(issued.textOf(content, 16), std::string("g8tk\2\0\x14\0\2\0\0\0\0\0\0\0", 16));
    EXPECT_EQ(issued.textOf(content + 24, 3), std::string("\2\1\0", 3));
    EXPECT_EQ(issued.textOf(content + 45, 3), std::string("\2\2\0", 3));
}

TEST(Ticket, AnotherProgramVerifiesItsSignature)
{
    const Issued issued;
    const auto folder = issued.bench.folder();
    const std::size_t signedLength = 16 + issued.chainLength + issued.contentLength;
    const std::size_t length = 2 + std::to_integer<std::size_t>(issued.raw[signedLength + 1]);
    putContent(folder / "signed", issued.textOf(0, signedLength));
    putContent(folder / "signature", issued.textOf(signedLength, length));
    const std::string inFolder = "cd '" + folder.string() + "' && ";
    // The certificates lie one after another behind the sequence's four bytes of head.
    putContent(folder / "signer.der", issued.textOf(16 + 4, issued.chainLength - 4));
    ASSERT_EQ(std::system((inFolder
                  + "openssl x509 -inform DER -in signer.der -noout -pubkey -subject >text "
                    "&& openssl dgst -sha256 -verify text -signature signature signed >result")
                              .c_str()),
        0);
    EXPECT_EQ(contentOf(folder / "result"), "Verified OK\n");
    EXPECT_NE(contentOf(folder / "text").find("LOCAL STAND-IN"), std::string::npos);
    EXPECT_NE(contentOf(folder / "text").find("Not Apple"), std::string::npos);

    flip(folder / "signed", signedLength - 1);
    EXPECT_NE(std::system((inFolder
                  + "openssl dgst -sha256 -verify text -signature signature signed >result")
                              .c_str()),
        0);
}

TEST(Ticket, IsFoundByEachOfItsHashes)
{
    const Issued issued;
    for (const TicketHash& hash : issued.hashes) {
        const auto found = issued.store.find(hash);
        ASSERT_TRUE(found);
        const Ticket ticket = Ticket::read(*found);
        EXPECT_TRUE(ticket.isIntact);
        EXPECT_EQ(ticket.hashes, issued.hashes);
        EXPECT_EQ(ticket.chain.back(), *TicketAuthority::rootIn(issued.store));
        EXPECT_LE(ticket.issued, keychain::now());
    }
    EXPECT_FALSE(issued.store.find(hashOf(3)));
    // Nobody but the owner may see them, or the key.
    for (const auto& entry :
        std::filesystem::recursive_directory_iterator(issued.store.folder().path()))
        EXPECT_EQ(entry.status().permissions() & std::filesystem::perms(077),
            std::filesystem::perms::none);
}

TEST(Ticket, IsWorthNothingWhenCutOrChanged)
{
    const Issued issued;
    const std::span<const std::byte> raw(issued.raw);
    for (std::size_t length = 0; length < raw.size() - 72; ++length)
        EXPECT_THROW(Ticket::read(raw.first(length)), bytes::FormatError) << length;
    for (std::size_t length = raw.size() - 72; length < raw.size() - 4; ++length)
        EXPECT_FALSE(Ticket::read(raw.first(length)).isIntact) << length;

    const std::size_t signatureEnd =
        raw.size() - 72 + 2 + std::to_integer<std::size_t>(raw[raw.size() - 71]);
    for (std::size_t at = 0; at < signatureEnd; at += at % 7 + 1) {
        Bytes changed = issued.raw;
        changed[at] ^= std::byte{0x41};
        try {
            EXPECT_FALSE(Ticket::read(changed).isIntact) << at;
        } catch (const bytes::FormatError&) {
            // This is as good.
        }
    }
}

} // namespace
