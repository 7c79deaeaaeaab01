#include "keychain/DecryptionBudget.h"

#include "bytes/FormatError.h"
#include "keychain/OpenSsl.h"

#include <openssl/asn1t.h>

namespace keychain {

namespace {

template <typename Parameters, auto free>
std::unique_ptr<Parameters, Free<free>> parametersOf(
    const X509_ALGOR* scheme, const ASN1_ITEM* format)
{
    const ASN1_OBJECT* identifier = nullptr;
    int type = 0;
    const void* value = nullptr;
    X509_ALGOR_get0(&identifier, &type, &value, scheme);
    Parameters* parameters = nullptr;
    if (type == V_ASN1_SEQUENCE)
        parameters = static_cast<Parameters*>(
            ASN1_item_unpack(static_cast<const ASN1_STRING*>(value), format));
    forgetErrors();
    if (parameters == nullptr)
        throw bytes::FormatError("an encryption without its parameters");
    return std::unique_ptr<Parameters, Free<free>>(parameters);
}

int kindOf(const X509_ALGOR* scheme)
{
    const ASN1_OBJECT* identifier = nullptr;
    X509_ALGOR_get0(&identifier, nullptr, nullptr, scheme);
    return OBJ_obj2nid(identifier);
}

} // namespace

void DecryptionBudget::spend(long iterations)
{
    if (iterations < 1)
        throw bytes::FormatError("an impossible iteration count");
    if (m_left < iterations)
        throw bytes::FormatError("it would take too long to decrypt");
    m_left -= iterations;
}

void DecryptionBudget::spendFor(const X509_ALGOR* scheme)
{
    if (kindOf(scheme) != NID_pbes2) {
        const auto parameters =
            parametersOf<PBEPARAM, PBEPARAM_free>(scheme, ASN1_ITEM_rptr(PBEPARAM));
        return spend(ASN1_INTEGER_get(parameters->iter));
    }
    const auto parameters =
        parametersOf<PBE2PARAM, PBE2PARAM_free>(scheme, ASN1_ITEM_rptr(PBE2PARAM));
    // The other way to derive a key, scrypt, has a limit of its own in OpenSSL.
    if (kindOf(parameters->keyfunc) != NID_id_pbkdf2)
        return;
    const auto derivation = parametersOf<PBKDF2PARAM, PBKDF2PARAM_free>(
        parameters->keyfunc, ASN1_ITEM_rptr(PBKDF2PARAM));
    spend(ASN1_INTEGER_get(derivation->iter));
}

} // namespace keychain
