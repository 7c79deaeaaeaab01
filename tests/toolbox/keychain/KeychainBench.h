#pragma once

#include "keychain/CertificateIssue.h"
#include "keychain/IdentityStore.h"
#include "keychain/LocalAuthority.h"

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// A folder of its own for a test, gone at its end.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    std::string write(const std::string& name, std::string_view content) const;
    std::string write(const std::string& name, const std::vector<std::byte>& content) const;
    std::vector<std::byte> read(const std::string& name) const;
    /// Runs a command of the shell in the folder: its status, and all that it prints in `said`.
    int shell(const std::string& command) const;
    mutable std::string said;

private:
    std::filesystem::path m_path;
};

std::vector<std::byte> bytesOf(std::string_view text);

/// A rehearsal authority with one identity, made once for all tests of a program.
struct Rehearsal {
    TemporaryFolder folder;
    keychain::IdentityStore store{folder.path()};
    keychain::LocalAuthority authority{store};
    keychain::Identity identity = authority.createIdentity(store, "Example Maker", "ABCDE12345");

    static Rehearsal& shared();
};

keychain::PrivateKey ellipticKey();

/// An authority that signs whatever a test wants, with elliptic keys.
struct TestAuthority {
    /// What a test may want to have otherwise.
    struct Wish {
        std::string name = "Developer ID Application: Test (ZZZZZ99999)";
        std::vector<keychain::CertificatePlan::Extension> usage = codeSigning();
        std::chrono::hours startsBeforeNow{1};
        std::chrono::days lifetime{30};
    };
    static std::vector<keychain::CertificatePlan::Extension> codeSigning();

    TestAuthority();
    keychain::Identity identity(const Wish& wish) const;
    keychain::Identity identity() const { return identity(Wish{}); }

    keychain::PrivateKey rootKey, issuerKey;
    keychain::Certificate root, issuer;
};
