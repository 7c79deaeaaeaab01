#include "KeychainBench.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/wait.h>

namespace fs = std::filesystem;
using keychain::CertificatePlan;

TemporaryFolder::TemporaryFolder()
{
    std::string pattern = (fs::temp_directory_path() / "keychain-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("no temporary folder");
    m_path = pattern;
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

std::string TemporaryFolder::write(const std::string& name, std::string_view content) const
{
    std::ofstream(m_path / name, std::ios::binary) << content;
    return m_path / name;
}

std::string TemporaryFolder::write(
    const std::string& name, const std::vector<std::byte>& content) const
{
    return write(name, {reinterpret_cast<const char*>(content.data()), content.size()});
}

std::vector<std::byte> TemporaryFolder::read(const std::string& name) const
{
    std::ifstream in(m_path / name, std::ios::binary);
    return bytesOf(std::string(std::istreambuf_iterator<char>(in), {}));
}

int TemporaryFolder::shell(const std::string& command) const
{
    const std::string line =
        "cd '" + m_path.string() + "' && { " + command + "; } >.said 2>&1 </dev/null";
    const int status = std::system(line.c_str());
    const auto text = read(".said");
    said.assign(reinterpret_cast<const char*>(text.data()), text.size());
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128;
}

std::vector<std::byte> bytesOf(std::string_view text)
{
    const auto view = std::as_bytes(std::span(text.data(), text.size()));
    return {view.begin(), view.end()};
}

Rehearsal& Rehearsal::shared()
{
    static Rehearsal rehearsal;
    return rehearsal;
}

keychain::PrivateKey ellipticKey()
{
    return keychain::PrivateKey(keychain::KeyOwner(EVP_EC_gen("P-256")));
}

std::vector<CertificatePlan::Extension> TestAuthority::codeSigning()
{
    return {{"keyUsage", "critical,digitalSignature"}, {"extendedKeyUsage", "critical,codeSigning"},
        {"1.2.840.113635.100.6.1.13", "critical,DER:05:00"}};
}

namespace {

CertificatePlan authorityPlan(const char* name)
{
    return {{{"CN", name}},
        {{"basicConstraints", "critical,CA:TRUE"}, {"keyUsage", "critical,keyCertSign"}},
        keychain::now() - std::chrono::days(100), std::chrono::days(1000)};
}

} // namespace

TestAuthority::TestAuthority()
    : rootKey(ellipticKey())
    , issuerKey(ellipticKey())
    , root(issueCertificate(authorityPlan("Test Root"), rootKey, nullptr, rootKey))
    , issuer(issueCertificate(authorityPlan("Test CA"), issuerKey, &root, rootKey))
{ }

keychain::Identity TestAuthority::identity(const Wish& wish) const
{
    keychain::PrivateKey key = ellipticKey();
    const CertificatePlan plan{{{"CN", wish.name}, {"OU", "ZZZZZ99999"}}, wish.usage,
        keychain::now() - wish.startsBeforeNow, wish.lifetime};
    keychain::Certificate leaf = issueCertificate(plan, key, &issuer, issuerKey);
    return {std::move(leaf), {issuer, root}, std::move(key)};
}
