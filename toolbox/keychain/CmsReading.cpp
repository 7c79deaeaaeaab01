#include "bytes/FormatError.h"
#include "keychain/Cms.h"
#include "keychain/CodeAttributes.h"
#include "keychain/TimeStampProtocol.h"

#include <algorithm>

namespace keychain {

using bytes::FormatError;

namespace {

using Values = std::vector<const ASN1_TYPE*>;

Values valuesOf(X509_ATTRIBUTE* attribute)
{
    Values values;
    for (int i = 0; i < X509_ATTRIBUTE_count(attribute); ++i)
        values.push_back(X509_ATTRIBUTE_get0_type(attribute, i));
    return values;
}

/// Of a signed attribute; none when it is absent.
std::optional<Values> signedValues(CMS_SignerInfo* signer, const char* identifier)
{
    const ObjectOwner object(OBJ_txt2obj(identifier, 1));
    const int at = CMS_signed_get_attr_by_OBJ(signer, object.get(), -1);
    if (at < 0)
        return std::nullopt;
    if (CMS_signed_get_attr_by_OBJ(signer, object.get(), at) >= 0)
        throw FormatError(std::string("attribute ") + identifier + " stands there twice");
    return valuesOf(CMS_signed_get_attr(signer, at));
}

/// The content of a value that is of a string type.
std::span<const std::byte> contentOf(const ASN1_TYPE* value)
{
    const ASN1_STRING* text = value->value.asn1_string;
    return std::as_bytes(
        std::span(ASN1_STRING_get0_data(text), static_cast<std::size_t>(ASN1_STRING_length(text))));
}

bool listFits(CMS_SignerInfo* signer, std::span<const CodeHash> codeHashes)
{
    const auto values = signedValues(signer, hashListAttribute);
    if (!values)
        return true;
    if (values->size() != 1 || (*values)[0]->type != V_ASN1_OCTET_STRING)
        return false;
    const auto list = contentOf((*values)[0]);
    return isHashListOf({reinterpret_cast<const char*>(list.data()), list.size()}, codeHashes);
}

bool valuesFit(CMS_SignerInfo* signer, std::span<const CodeHash> codeHashes)
{
    const auto values = signedValues(signer, hashValuesAttribute);
    if (!values)
        return true;
    if (values->size() != codeHashes.size())
        return false;
    return std::ranges::all_of(codeHashes, [&](const CodeHash& codeHash) {
        const auto expected = hashValueOf(codeHash);
        return expected && std::ranges::any_of(*values, [&](const ASN1_TYPE* value) {
            return value->type == V_ASN1_SEQUENCE
                && std::ranges::equal(contentOf(value), *expected);
        });
    });
}

/// A source behind a filter: of a bare one in memory OpenSSL makes a copy, which it forgets to free
/// when the signature names a digest that it doesn't know.
BioOwner filteredReadingFrom(std::span<const std::byte> data)
{
    BioOwner source = readingFrom(data);
    BioOwner filter = required(BioOwner(BIO_new(BIO_f_null())), "reading");
    BIO_push(filter.get(), source.release());
    return filter;
}

/// What is wrong with a signature; empty when nothing is.
std::string faultOf(CMS_ContentInfo* cms, CMS_SignerInfo* signer,
    std::span<const std::byte> primaryCodeDirectory, std::span<const CodeHash> codeHashes)
{
    if (CMS_is_detached(cms) != 1)
        return "it carries content of its own";
    const BioOwner content = filteredReadingFrom(primaryCodeDirectory);
    // Whether the signer is to be trusted is decided apart from what was signed.
    if (CMS_verify(
            cms, nullptr, nullptr, content.get(), nullptr, CMS_BINARY | CMS_NO_SIGNER_CERT_VERIFY)
        != 1)
        return CryptoError("it doesn't fit the code directory").what();
    if (!listFits(signer, codeHashes))
        return "its hash list doesn't fit the code directories";
    if (!valuesFit(signer, codeHashes))
        return "its hashes don't fit the code directories";
    return {};
}

std::vector<Certificate> chainOf(
    CMS_ContentInfo* cms, CMS_SignerInfo* signer, const TrustedRoots& roots)
{
    std::vector<Certificate> all;
    STACK_OF(X509)* held = CMS_get1_certs(cms);
    all.reserve(static_cast<std::size_t>(std::max(0, sk_X509_num(held))));
    for (int i = 0; i < sk_X509_num(held); ++i)
        all.emplace_back(sk_X509_value(held, i));
    sk_X509_pop_free(held, X509_free);
    const auto leaf = std::ranges::find_if(all, [&](const Certificate& certificate) {
        return CMS_SignerInfo_cert_cmp(signer, certificate.get()) == 0;
    });
    return leaf == all.end() ? std::vector<Certificate>{} : roots.chainOf(*leaf, all);
}

std::optional<Time> signingTimeOf(CMS_SignerInfo* signer)
{
    const auto values = signedValues(signer, "1.2.840.113549.1.9.5");
    if (!values || values->size() != 1)
        return std::nullopt;
    const ASN1_TYPE* value = (*values)[0];
    std::tm parts{};
    if ((value->type != V_ASN1_UTCTIME && value->type != V_ASN1_GENERALIZEDTIME)
        || ASN1_TIME_to_tm(value->value.asn1_string, &parts) != 1)
        return std::nullopt;
    return Time(std::chrono::seconds(::timegm(&parts)));
}

void readStamp(CMS_SignerInfo* signer, const TrustedRoots& roots, SignatureFacts& facts)
{
    const int at = CMS_unsigned_get_attr_by_NID(signer, NID_id_smime_aa_timeStampToken, -1);
    if (at < 0)
        return;
    facts.stampState = StampState::broken;
    const Values values = valuesOf(CMS_unsigned_get_attr(signer, at));
    if (values.size() != 1 || values[0]->type != V_ASN1_SEQUENCE)
        return;
    const ASN1_OCTET_STRING* signature = CMS_SignerInfo_get0_signature(signer);
    const TokenFacts token = readToken(contentOf(values[0]),
        std::as_bytes(std::span(ASN1_STRING_get0_data(signature),
            static_cast<std::size_t>(ASN1_STRING_length(signature)))),
        roots);
    if (!token.isIntact)
        return;
    facts.stampChain = token.chain;
    facts.stampState = token.trust == Trust::trusted ? StampState::trusted : StampState::notTrusted;
    if (token.trust == Trust::trusted)
        facts.timestamp = token.time;
}

} // namespace

SignatureFacts readCodeSignature(std::span<const std::byte> cms,
    std::span<const std::byte> primaryCodeDirectory, std::span<const CodeHash> codeHashes,
    const TrustedRoots& roots)
{
    const auto message = fromDer<CmsOwner>(cms, d2i_CMS_ContentInfo);
    if (!message || OBJ_obj2nid(CMS_get0_type(message.get())) != NID_pkcs7_signed)
        throw FormatError("not a signature");
    STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(message.get());
    if (sk_CMS_SignerInfo_num(signers) != 1)
        throw FormatError("not a signature of one signer");
    CMS_SignerInfo* signer = sk_CMS_SignerInfo_value(signers, 0);

    SignatureFacts facts;
    facts.fault = faultOf(message.get(), signer, primaryCodeDirectory, codeHashes);
    facts.isIntact = facts.fault.empty();
    facts.chain = chainOf(message.get(), signer, roots);
    facts.signingTime = signingTimeOf(signer);
    readStamp(signer, roots, facts);
    const Time time = facts.timestamp.value_or(facts.signingTime.value_or(now()));
    facts.trust = roots.trustOf(facts.chain, time);
    // The same authority may issue for other purposes, too.
    if (facts.trust == Trust::trusted && !facts.chain.front().allowsCodeSigning())
        facts.trust = Trust::notTrusted;
    forgetErrors();
    return facts;
}

} // namespace keychain
