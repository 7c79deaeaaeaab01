#include "keychain/TrustedRoots.h"

#include <algorithm>
#include <array>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

namespace keychain {

namespace {

constexpr std::string_view appleRoot = "611E5B662C593A08FF58D14AE22452D198DF6C60";

/// Apple's own extensions mark what a certificate is for; critical ones are no reason to distrust.
constexpr std::string_view appleExtensions =
    "\x2A\x86\x48\x86\xF7\x63\x64\x06"; // 1.2.840.113635.100.6

/// What OpenSSL knows how to heed.
bool isUnderstood(X509_EXTENSION* extension)
{
    if (X509_supported_extension(extension) == 1)
        return true;
    const ASN1_OBJECT* object = X509_EXTENSION_get_object(extension);
    const std::string_view content(
        reinterpret_cast<const char*>(OBJ_get0_data(object)), OBJ_length(object));
    return content.starts_with(appleExtensions);
}

bool understandsAllCritical(X509* certificate)
{
    for (int i = 0; i < X509_get_ext_count(certificate); ++i) {
        X509_EXTENSION* extension = X509_get_ext(certificate, i);
        if (X509_EXTENSION_get_critical(extension) == 1 && !isUnderstood(extension))
            return false;
    }
    return true;
}

/// All that a verification objects to, apart from the dates.
struct Objections {
    bool expired = false, notYetValid = false, broken = false;
};

int collect(int passed, X509_STORE_CTX* context)
{
    if (passed == 1)
        return 1;
    auto& objections = *static_cast<Objections*>(X509_STORE_CTX_get_app_data(context));
    switch (X509_STORE_CTX_get_error(context)) {
    case X509_V_ERR_CERT_HAS_EXPIRED:
        objections.expired = true;
        break;
    case X509_V_ERR_CERT_NOT_YET_VALID:
        objections.notYetValid = true;
        break;
    case X509_V_ERR_UNHANDLED_CRITICAL_EXTENSION:
        if (!understandsAllCritical(X509_STORE_CTX_get_current_cert(context)))
            objections.broken = true;
        break;
    default:
        objections.broken = true;
    }
    X509_STORE_CTX_set_error(context, X509_V_OK);
    return 1;
}

using StackOwner =
    std::unique_ptr<STACK_OF(X509), decltype([](STACK_OF(X509) * stack) { sk_X509_free(stack); })>;

Objections verify(const std::vector<Certificate>& chain, bool rootIsTrusted, Time time)
{
    const StoreOwner store = required(StoreOwner(X509_STORE_new()), "verifying");
    if (rootIsTrusted)
        require(X509_STORE_add_cert(store.get(), chain.back().get()), "verifying");
    const StackOwner issuers(sk_X509_new_null());
    for (const Certificate& certificate : chain)
        require(sk_X509_push(issuers.get(), certificate.get()) > 0 ? 1 : 0, "verifying");

    const StoreContextOwner context =
        required(StoreContextOwner(X509_STORE_CTX_new()), "verifying");
    require(X509_STORE_CTX_init(context.get(), store.get(), chain[0].get(), issuers.get()),
        "verifying");
    Objections objections;
    X509_STORE_CTX_set_app_data(context.get(), &objections);
    X509_STORE_CTX_set_verify_cb(context.get(), collect);
    X509_VERIFY_PARAM* rules = X509_STORE_CTX_get0_param(context.get());
    // OpenSSL 3.0 has no purpose for code; the usual one is mail, which these certificates aren't.
    X509_VERIFY_PARAM_set_purpose(rules, X509_PURPOSE_ANY);
    X509_VERIFY_PARAM_set_time(rules, time.time_since_epoch().count());
    if (X509_verify_cert(context.get()) != 1)
        objections.broken = true;
    forgetErrors();
    return objections;
}

} // namespace

void TrustedRoots::addRehearsalRoot(const Certificate& root)
{
    if (std::ranges::find(m_rehearsalRoots, root) == m_rehearsalRoots.end())
        m_rehearsalRoots.push_back(root);
}

TrustedRoots::Kind TrustedRoots::kindOf(const Certificate& root) const
{
    if (!root.isSelfIssued())
        return Kind::none;
    if (root.fingerprint() == appleRoot)
        return Kind::apple;
    return std::ranges::find(m_rehearsalRoots, root) == m_rehearsalRoots.end() ? Kind::none
                                                                               : Kind::rehearsal;
}

bool TrustedRoots::isRevoked(const Certificate& certificate) const
{
    return m_revoked.contains(certificate.fingerprint());
}

std::vector<Certificate> TrustedRoots::chainOf(
    const Certificate& leaf, const std::vector<Certificate>& others) const
{
    std::vector<Certificate> all = others;
    all.insert(all.end(), m_rehearsalRoots.begin(), m_rehearsalRoots.end());
    return chainFrom(leaf, all);
}

Trust TrustedRoots::trustOf(const std::vector<Certificate>& chain, Time time) const
{
    if (chain.empty())
        return Trust::notTrusted;
    if (std::ranges::any_of(chain, [this](const Certificate& one) { return isRevoked(one); }))
        return Trust::revoked;
    const bool rootIsTrusted = trusts(chain.back());
    const Objections objections = verify(chain, rootIsTrusted, time);
    if (!rootIsTrusted || objections.broken)
        return Trust::notTrusted;
    if (objections.expired)
        return Trust::expired;
    return objections.notYetValid ? Trust::notYetValid : Trust::trusted;
}

Time now()
{
    return std::chrono::time_point_cast<std::chrono::seconds>(std::chrono::system_clock::now());
}

} // namespace keychain
