#include "keychain/TimeStampProtocol.h"

#include "keychain/TimeStamper.h"

#include <array>
#include <cassert>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

namespace keychain {

namespace {

constexpr std::size_t imprintSize = 32;

using AlgorithmOwner = std::unique_ptr<X509_ALGOR, Free<X509_ALGOR_free>>;
using ImprintOwner = std::unique_ptr<TS_MSG_IMPRINT, Free<TS_MSG_IMPRINT_free>>;
using IntegerOwner = std::unique_ptr<ASN1_INTEGER, Free<ASN1_INTEGER_free>>;
using RequestOwner = std::unique_ptr<TS_REQ, Free<TS_REQ_free>>;
using ResponseOwner = std::unique_ptr<TS_RESP, Free<TS_RESP_free>>;
using StampInfoOwner = std::unique_ptr<TS_TST_INFO, Free<TS_TST_INFO_free>>;
using CheckOwner = std::unique_ptr<TS_VERIFY_CTX, Free<TS_VERIFY_CTX_free>>;

ImprintOwner messageImprint(std::span<const std::byte> imprint)
{
    ImprintOwner message = required(ImprintOwner(TS_MSG_IMPRINT_new()), "asking for the time");
    const AlgorithmOwner algorithm(X509_ALGOR_new());
    require(X509_ALGOR_set0(algorithm.get(), OBJ_nid2obj(NID_sha256), V_ASN1_NULL, nullptr),
        "asking for the time");
    require(TS_MSG_IMPRINT_set_algo(message.get(), algorithm.get()), "asking for the time");
    auto* raw = const_cast<unsigned char*>(reinterpret_cast<const unsigned char*>(imprint.data()));
    require(TS_MSG_IMPRINT_set_msg(message.get(), raw, static_cast<int>(imprint.size())),
        "asking for the time");
    return message;
}

IntegerOwner randomNonce()
{
    uint64_t number = 0;
    require(RAND_bytes(reinterpret_cast<unsigned char*>(&number), sizeof number), "making a nonce");
    IntegerOwner nonce = required(IntegerOwner(ASN1_INTEGER_new()), "making a nonce");
    require(ASN1_INTEGER_set_uint64(nonce.get(), number), "making a nonce");
    return nonce;
}

/// Lets the token's signature be checked apart from whether anybody trusts its maker.
void checkSignature(TS_VERIFY_CTX* check)
{
    StoreOwner store = required(StoreOwner(X509_STORE_new()), "verifying");
    X509_STORE_set_verify_cb(store.get(), [](int, X509_STORE_CTX* context) {
        X509_STORE_CTX_set_error(context, X509_V_OK);
        return 1;
    });
    TS_VERIFY_CTX_set_store(check, store.release());
    TS_VERIFY_CTX_add_flags(check, TS_VFY_SIGNATURE);
}

bool isStampFor(PKCS7* token, std::span<const std::byte> data)
{
    const CheckOwner check = required(CheckOwner(TS_VERIFY_CTX_new()), "verifying");
    TS_VERIFY_CTX_set_flags(check.get(), TS_VFY_VERSION | TS_VFY_DATA);
    TS_VERIFY_CTX_set_data(check.get(), readingFrom(data).release());
    checkSignature(check.get());
    return TS_RESP_verify_token(check.get(), token) == 1;
}

std::vector<Certificate> stampChain(PKCS7* token, const TrustedRoots& roots)
{
    std::vector<Certificate> all;
    const STACK_OF(X509)* held = token->d.sign->cert;
    for (int i = 0; i < sk_X509_num(held); ++i)
        all.emplace_back(sk_X509_value(held, i));
    STACK_OF(X509)* signers = PKCS7_get0_signers(token, nullptr, 0);
    std::vector<Certificate> chain;
    if (sk_X509_num(signers) == 1)
        chain = roots.chainOf(Certificate(sk_X509_value(signers, 0)), all);
    sk_X509_free(signers);
    return chain;
}

std::optional<Time> statedTime(PKCS7* token)
{
    const StampInfoOwner info(PKCS7_to_TS_TST_INFO(token));
    std::tm parts{};
    if (!info || ASN1_TIME_to_tm(TS_TST_INFO_get_time(info.get()), &parts) != 1)
        return std::nullopt;
    return Time(std::chrono::seconds(::timegm(&parts)));
}

Pkcs7Owner signedToken(std::span<const std::byte> token)
{
    Pkcs7Owner message = fromDer<Pkcs7Owner>(token, d2i_PKCS7);
    if (message && (!PKCS7_type_is_signed(message.get()) || message->d.sign == nullptr))
        message.reset();
    return message;
}

TokenFacts factsOf(PKCS7* token, std::span<const std::byte> data, const TrustedRoots& roots)
{
    TokenFacts facts;
    const std::optional<Time> time = statedTime(token);
    facts.isIntact = time && isStampFor(token, data);
    if (!facts.isIntact)
        return facts;
    facts.time = *time;
    facts.chain = stampChain(token, roots);
    const bool mayStamp = !facts.chain.empty()
        && X509_check_purpose(facts.chain[0].get(), X509_PURPOSE_TIMESTAMP_SIGN, 0) == 1;
    if (mayStamp)
        facts.trust = roots.trustOf(facts.chain, facts.time);
    return facts;
}

} // namespace

TimeStampRequest::TimeStampRequest(std::span<const std::byte> imprint)
{
    assert(imprint.size() == imprintSize);
    const RequestOwner request = required(RequestOwner(TS_REQ_new()), "asking for the time");
    const IntegerOwner nonce = randomNonce();
    const ImprintOwner message = messageImprint(imprint);
    const bool isComplete = TS_REQ_set_version(request.get(), 1) == 1
        && TS_REQ_set_msg_imprint(request.get(), message.get()) == 1
        && TS_REQ_set_nonce(request.get(), nonce.get()) == 1
        && TS_REQ_set_cert_req(request.get(), 1) == 1;
    require(isComplete ? 1 : 0, "asking for the time");
    m_der = derOf(request.get(), i2d_TS_REQ);
}

std::vector<std::byte> TimeStampRequest::tokenOf(std::span<const std::byte> response) const
{
    const auto answer = fromDer<ResponseOwner>(response, d2i_TS_RESP);
    if (!answer)
        throw TimeStampUnavailable("the answer is no time-stamp response");
    const auto request = fromDer<RequestOwner>(m_der, d2i_TS_REQ);
    const CheckOwner check =
        required(CheckOwner(TS_REQ_to_TS_VERIFY_CTX(request.get(), nullptr)), "verifying");
    checkSignature(check.get());
    if (TS_RESP_verify_response(check.get(), answer.get()) != 1)
        throw TimeStampUnavailable(CryptoError("the answer is no good").what());
    return derOf(TS_RESP_get_token(answer.get()), i2d_PKCS7);
}

std::optional<Time> timeOfToken(std::span<const std::byte> token)
{
    const Pkcs7Owner message = signedToken(token);
    const std::optional<Time> time = message ? statedTime(message.get()) : std::nullopt;
    forgetErrors();
    return time;
}

TokenFacts readToken(
    std::span<const std::byte> token, std::span<const std::byte> data, const TrustedRoots& roots)
{
    const Pkcs7Owner message = signedToken(token);
    TokenFacts facts;
    if (message)
        facts = factsOf(message.get(), data, roots);
    forgetErrors();
    return facts;
}

} // namespace keychain
