#include "notary/Jwt.h"

#include "bytes/FormatError.h"
#include "keychain/OpenSsl.h"
#include "keychain/PrivateKey.h"
#include "notary/Encoding.h"

#include <array>
#include <nlohmann/json.hpp>
#include <openssl/ec.h>
#include <openssl/ecdsa.h>

namespace notary {

namespace {

using keychain::Free;
using ContextOwner = std::unique_ptr<EVP_MD_CTX, Free<EVP_MD_CTX_free>>;
using SignatureOwner = std::unique_ptr<ECDSA_SIG, Free<ECDSA_SIG_free>>;

constexpr int numberSize = 32; // of each half of a signature on this curve

int64_t secondsOf(std::chrono::system_clock::time_point time)
{
    return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
}

std::vector<std::byte> signatureDer(EVP_PKEY* key, std::string_view text)
{
    const ContextOwner context(EVP_MD_CTX_new());
    const auto* data = reinterpret_cast<const unsigned char*>(text.data());
    std::size_t size = 0;
    keychain::require(
        EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key), "signing");
    keychain::require(EVP_DigestSign(context.get(), nullptr, &size, data, text.size()), "signing");
    std::vector<std::byte> der(size);
    keychain::require(EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(der.data()),
                          &size, data, text.size()),
        "signing");
    der.resize(size);
    return der;
}

/// The two numbers one after the other, as tokens have them (RFC 7518, section 3.4).
std::array<std::byte, 2 * numberSize> plainSignature(EVP_PKEY* key, std::string_view text)
{
    const auto signature = keychain::required(
        keychain::fromDer<SignatureOwner>(signatureDer(key, text), d2i_ECDSA_SIG), "signing");
    std::array<std::byte, 2 * numberSize> plain{};
    auto* out = reinterpret_cast<unsigned char*>(plain.data());
    keychain::require(
        BN_bn2binpad(ECDSA_SIG_get0_r(signature.get()), out, numberSize) == numberSize, "signing");
    keychain::require(
        BN_bn2binpad(ECDSA_SIG_get0_s(signature.get()), out + numberSize, numberSize) == numberSize,
        "signing");
    return plain;
}

void requireCurve(EVP_PKEY* key)
{
    if (EVP_PKEY_get_base_id(key) != EVP_PKEY_EC || EVP_PKEY_get_bits(key) != 8 * numberSize)
        throw bytes::FormatError("the key is none of App Store Connect's: it isn't on P-256");
}

} // namespace

std::string makeToken(const ApiKey& key, std::chrono::system_clock::time_point now)
{
    const auto privateKey = keychain::PrivateKey::fromPem(key.pem);
    requireCurve(privateKey.get());
    const nlohmann::json header{{"alg", "ES256"}, {"kid", key.keyId}, {"typ", "JWT"}};
    nlohmann::json claims{{"iat", secondsOf(now)}, {"exp", secondsOf(now + tokenLifetime)},
        {"aud", "appstoreconnect-v1"}};
    if (key.issuer.empty())
        claims["sub"] = "user";
    else
        claims["iss"] = key.issuer;
    const std::string text = base64Url(header.dump()) + "." + base64Url(claims.dump());
    return text + "." + base64Url(plainSignature(privateKey.get(), text));
}

} // namespace notary
