#include "keychain/Cms.h"

#include "keychain/CodeAttributes.h"
#include "keychain/TimeStampProtocol.h"

#include <array>

namespace keychain {

namespace {

constexpr unsigned signingFlags = CMS_PARTIAL | CMS_DETACHED | CMS_BINARY;

using AttributeOwner = std::unique_ptr<X509_ATTRIBUTE, Free<X509_ATTRIBUTE_free>>;

AttributeOwner attribute(const char* identifier)
{
    const ObjectOwner object = required(ObjectOwner(OBJ_txt2obj(identifier, 1)), identifier);
    AttributeOwner made = required(AttributeOwner(X509_ATTRIBUTE_new()), identifier);
    require(X509_ATTRIBUTE_set1_object(made.get(), object.get()), identifier);
    return made;
}

void addValue(X509_ATTRIBUTE* attribute, int type, std::span<const std::byte> value)
{
    require(X509_ATTRIBUTE_set1_data(attribute, type, value.data(), static_cast<int>(value.size())),
        "adding an attribute");
}

void addCodeHashes(CMS_SignerInfo* signer, std::span<const CodeHash> codeHashes)
{
    const AttributeOwner list = attribute(hashListAttribute);
    addValue(list.get(), V_ASN1_OCTET_STRING,
        std::as_bytes(std::span<const char>(hashListOf(codeHashes))));
    require(CMS_signed_add1_attr(signer, list.get()), "adding the hash list");

    const AttributeOwner values = attribute(hashValuesAttribute);
    for (const CodeHash& codeHash : codeHashes) {
        const auto value = hashValueOf(codeHash);
        if (!value)
            throw CryptoError("a code directory of an unknown hash kind");
        addValue(values.get(), V_ASN1_SEQUENCE, *value);
    }
    require(CMS_signed_add1_attr(signer, values.get()), "adding the hashes");
}

/// A clock that far from the service's makes signatures that others find odd.
void requireAgreement(const std::vector<std::byte>& token, Time signingTime)
{
    constexpr std::chrono::seconds tolerance{180};
    const auto stamped = timeOfToken(token);
    if (!stamped)
        throw TimeStampUnavailable("the token states no time");
    const std::chrono::seconds difference = *stamped - signingTime;
    if (difference > tolerance || difference < -tolerance)
        throw TimeStampMismatch(difference);
}

void addTimeStamp(CMS_SignerInfo* signer, const TimeStamper& stamper, Time signingTime)
{
    const ASN1_OCTET_STRING* signature = CMS_SignerInfo_get0_signature(signer);
    std::array<std::byte, 32> imprint{};
    require(EVP_Digest(ASN1_STRING_get0_data(signature),
                static_cast<std::size_t>(ASN1_STRING_length(signature)),
                reinterpret_cast<unsigned char*>(imprint.data()), nullptr, EVP_sha256(), nullptr),
        "hashing the signature");
    const std::vector<std::byte> token = stamper.token(imprint);
    requireAgreement(token, signingTime);
    require(CMS_unsigned_add1_attr_by_NID(signer, NID_id_smime_aa_timeStampToken, V_ASN1_SEQUENCE,
                token.data(), static_cast<int>(token.size())),
        "adding the time stamp");
}

} // namespace

std::vector<std::byte> signCode(const Identity& identity,
    std::span<const std::byte> primaryCodeDirectory, std::span<const CodeHash> codeHashes,
    const TimeStamper* stamper)
{
    if (!identity.isComplete())
        throw CryptoError("the certificate's chain leads to no root");
    const CmsOwner cms =
        required(CmsOwner(CMS_sign(nullptr, nullptr, nullptr, nullptr, signingFlags)), "signing");
    // The signer; without NOSMIMECAP it would claim abilities of a mail program.
    CMS_SignerInfo* signer = CMS_add1_signer(cms.get(), identity.certificate.get(),
        identity.key.get(), EVP_sha256(), CMS_PARTIAL | CMS_BINARY | CMS_NOSMIMECAP);
    if (signer == nullptr)
        throw CryptoError("signing");
    for (const Certificate& issuer : identity.issuers)
        require(CMS_add1_cert(cms.get(), issuer.get()), "adding a certificate");
    addCodeHashes(signer, codeHashes);
    const BioOwner content = readingFrom(primaryCodeDirectory);
    const Time signingTime = now();
    require(CMS_final(cms.get(), content.get(), nullptr, CMS_DETACHED | CMS_BINARY), "signing");
    if (stamper != nullptr)
        addTimeStamp(signer, *stamper, signingTime);
    return derOf(cms.get(), i2d_CMS_ContentInfo);
}

} // namespace keychain
