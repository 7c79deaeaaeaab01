#include "notary/Ticket.h"

#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"
#include "bytes/FormatError.h"

#include <algorithm>
#include <openssl/asn1.h>
#include <openssl/evp.h>

namespace notary {

using bytes::ByteReader;
using bytes::ByteWriter;
using bytes::FormatError;
using keychain::Certificate;

namespace {

constexpr std::string_view outerMagic = "s8ch";
constexpr std::string_view contentMagic = "g8tk";
constexpr uint32_t outerVersion = 1;
constexpr uint16_t contentVersion = 2;
constexpr uint16_t contentHeader = 20; // bytes behind the magic
constexpr std::size_t entrySize = 21;
constexpr std::size_t signatureSize = 72; // the longest that P-256 gives, in DER
constexpr std::size_t longestTicket = 1 << 20;
constexpr std::size_t mostCertificates = 8;

using DigestOwner = std::unique_ptr<EVP_MD_CTX, keychain::Free<EVP_MD_CTX_free>>;

const unsigned char* rawBytes(std::span<const std::byte> data)
{
    return reinterpret_cast<const unsigned char*>(data.data());
}

/// The certificates stand one after another in a single SEQUENCE.
std::vector<Certificate> readChain(std::span<const std::byte> der)
{
    const unsigned char* at = rawBytes(der);
    const unsigned char* end = at + der.size();
    long length = 0;
    int tag = 0;
    int kind = 0;
    const int form = ASN1_get_object(&at, &length, &tag, &kind, static_cast<long>(der.size()));
    keychain::forgetErrors();
    if (form != V_ASN1_CONSTRUCTED || tag != V_ASN1_SEQUENCE || end - at != length)
        throw FormatError("the ticket's certificates make no sense");
    std::vector<Certificate> chain;
    while (at != end) {
        const keychain::CertificateOwner one(d2i_X509(nullptr, &at, end - at));
        keychain::forgetErrors();
        if (!one || chain.size() == mostCertificates)
            throw FormatError("the ticket's certificates make no sense");
        chain.emplace_back(one.get());
    }
    if (chain.empty())
        throw FormatError("the ticket names no signer");
    return chain;
}

std::vector<std::byte> writeChain(const std::vector<Certificate>& chain)
{
    std::vector<std::byte> content;
    for (const Certificate& certificate : chain) {
        const auto der = certificate.der();
        content.insert(content.end(), der.begin(), der.end());
    }
    const auto length = static_cast<int>(content.size());
    std::vector<std::byte> whole(
        static_cast<std::size_t>(ASN1_object_size(1, length, V_ASN1_SEQUENCE)));
    auto* at = reinterpret_cast<unsigned char*>(whole.data());
    ASN1_put_object(&at, 1, length, V_ASN1_SEQUENCE, V_ASN1_UNIVERSAL);
    std::ranges::copy(content, whole.end() - length);
    return whole;
}

void expectText(ByteReader& in, std::string_view text)
{
    if (in.text(text.size()) != text)
        in.fail("not a notarization ticket");
}

void readContent(ByteReader in, Ticket& ticket)
{
    expectText(in, contentMagic);
    if (in.u16le() != contentVersion || in.u16le() != contentHeader)
        in.fail("a ticket of an unknown version");
    const uint32_t count = in.u32le();
    ticket.flags = in.u32le();
    ticket.issued = keychain::Time(std::chrono::seconds(static_cast<int64_t>(in.u64le())));
    if (in.remaining() != entrySize * count)
        in.fail("the ticket's hashes have another length");
    for (uint32_t i = 0; i < count; ++i) {
        TicketHash hash{.type = in.u8()};
        std::ranges::copy(in.take(hash.value.size()), hash.value.begin());
        ticket.hashes.push_back(hash);
    }
}

std::vector<std::byte> writeContent(const Ticket& ticket)
{
    ByteWriter out;
    out.text(contentMagic);
    out.u16le(contentVersion);
    out.u16le(contentHeader);
    out.u32le(static_cast<uint32_t>(ticket.hashes.size()));
    out.u32le(ticket.flags);
    out.u64le(static_cast<uint64_t>(ticket.issued.time_since_epoch().count()));
    for (const TicketHash& hash : ticket.hashes) {
        out.u8(hash.type);
        out.raw(hash.value);
    }
    return out.take();
}

/// A signature in DER says its own length; what follows is padding.
std::span<const std::byte> unpadded(std::span<const std::byte> signature)
{
    if (signature.size() < 2)
        return signature;
    const std::size_t length = 2 + std::to_integer<std::size_t>(signature[1]);
    return signature.first(std::min(length, signature.size()));
}

bool isSignedBy(const Certificate& signer, std::span<const std::byte> data,
    std::span<const std::byte> signature)
{
    const DigestOwner context(EVP_MD_CTX_new());
    EVP_PKEY* key = X509_get0_pubkey(signer.get());
    const bool isSigned = key != nullptr && EVP_PKEY_get_base_id(key) == EVP_PKEY_EC
        && EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr, key) == 1
        && EVP_DigestVerify(
               context.get(), rawBytes(signature), signature.size(), rawBytes(data), data.size())
            == 1;
    keychain::forgetErrors();
    return isSigned;
}

} // namespace

TicketHash TicketHash::of(const codesign::EmbeddedSignature& signature)
{
    const auto& best = signature.best();
    TicketHash hash{.type = static_cast<uint8_t>(best.content.hashType)};
    std::ranges::copy(best.shortHash(), hash.value.begin());
    return hash;
}

std::vector<TicketHash> TicketHash::allOf(const codesign::StaticCode& code)
{
    std::vector<TicketHash> all;
    for (const codesign::StaticCode::Part& part : code.parts) {
        if (!part.signature)
            return {};
        all.push_back(of(*part.signature));
    }
    return all;
}

std::string TicketHash::hex() const
{
    return codesign::hexOf(value);
}

std::string TicketHash::text() const
{
    return std::to_string(type) + "/" + hex();
}

Ticket Ticket::read(std::span<const std::byte> raw)
{
    if (raw.size() > longestTicket)
        throw FormatError("a ticket is never that long");
    ByteReader in(raw);
    expectText(in, outerMagic);
    if (in.u32le() != outerVersion)
        in.fail("a ticket of an unknown version");
    const uint32_t chainLength = in.u32le();
    const uint32_t contentLength = in.u32le();

    Ticket ticket;
    ticket.chain = readChain(in.take(chainLength));
    const uint64_t contentStart = in.offset();
    readContent(ByteReader(in.take(contentLength), contentStart), ticket);
    const std::size_t signedLength = raw.size() - in.remaining();
    ticket.isIntact = isSignedBy(
        ticket.chain.front(), raw.first(signedLength), unpadded(in.take(in.remaining())));
    return ticket;
}

std::vector<std::byte> Ticket::sign(const keychain::PrivateKey& key) const
{
    const auto chainBytes = writeChain(chain);
    const auto contentBytes = writeContent(*this);
    ByteWriter out;
    out.text(outerMagic);
    out.u32le(outerVersion);
    out.u32le(static_cast<uint32_t>(chainBytes.size()));
    out.u32le(static_cast<uint32_t>(contentBytes.size()));
    out.raw(chainBytes);
    out.raw(contentBytes);

    std::array<unsigned char, signatureSize> signature{};
    std::size_t length = signature.size();
    const DigestOwner context(EVP_MD_CTX_new());
    keychain::require(EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key.get()),
        "signing a ticket");
    keychain::require(
        EVP_DigestSign(context.get(), signature.data(), &length, rawBytes(out.bytes()), out.size()),
        "signing a ticket");
    std::fill(signature.begin() + static_cast<std::ptrdiff_t>(length), signature.end(),
        static_cast<unsigned char>(0));
    out.raw(std::as_bytes(std::span(signature)));
    return out.take();
}

bool Ticket::covers(const TicketHash& hash) const
{
    return std::ranges::find(hashes, hash) != hashes.end();
}

} // namespace notary
