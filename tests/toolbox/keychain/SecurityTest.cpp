#include "tools/Security.h"
#include "KeychainBench.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>

using namespace keychain;

namespace {

class Security : public testing::Test {
protected:
    Security() { ::setenv("VANDOR_STATE", state.c_str(), 1); }
    ~Security() override { ::unsetenv("VANDOR_STATE"); }

    int run(const std::vector<std::string>& arguments)
    {
        std::ostringstream outStream;
        std::ostringstream errStream;
        const int status = tools::security(arguments, outStream, errStream);
        out = outStream.str();
        err = errStream.str();
        return status;
    }

    /// What a program sees that takes the fingerprint before the first quote and the name behind.
    std::vector<std::string> seen() const
    {
        std::vector<std::string> names;
        std::istringstream lines(out);
        const std::regex fingerprint("[0-9A-F]{40}");
        for (std::string line; std::getline(lines, line);) {
            const std::size_t quote = line.find('"');
            if (quote == std::string::npos || line.find(')') == std::string::npos)
                continue;
            const std::string before = line.substr(0, quote);
            std::smatch match;
            if (std::regex_search(before, match, fingerprint))
                names.push_back(match.str() + " "
                    + line.substr(quote + 1, line.find('"', quote + 1) - quote - 1));
        }
        return names;
    }

    TemporaryFolder folder;
    std::string state = folder.path() / "state";
    std::string out, err;
};

std::string label(const Identity& identity)
{
    return identity.certificate.fingerprint() + " " + identity.certificate.commonName();
}

} // namespace

TEST_F(Security, ListsNothingWhereNothingIs)
{
    EXPECT_EQ(run({"find-identity", "-v", "-p", "codesigning"}), 0);
    EXPECT_EQ(out, "     0 valid identities found\n");
    EXPECT_EQ(run({"find-identity"}), 0);
    EXPECT_EQ(out,
        "\nPolicy: X.509 Basic\n  Matching identities\n     0 identities found\n\n"
        "  Valid identities only\n     0 valid identities found\n");
    EXPECT_EQ(err, "");
}

TEST_F(Security, ListsValidIdentitiesByThemselves)
{
    const TestAuthority authority;
    IdentityStore store(state);
    store.addRehearsalRoot(authority.root);
    using std::chrono::days;
    const Identity good = authority.identity();
    const Identity expired =
        authority.identity({.name = "Expired", .startsBeforeNow = days(9), .lifetime = days(8)});
    const Identity mail = authority.identity({.name = "Mail",
        .usage = {{"keyUsage", "digitalSignature"}, {"extendedKeyUsage", "emailProtection"}}});
    const Identity stranger = TestAuthority().identity({.name = "Stranger"});
    for (const Identity& identity : {good, expired, mail, stranger})
        store.add(identity);

    EXPECT_EQ(run({"find-identity", "-v", "-p", "codesigning"}), 0);
    EXPECT_EQ(out,
        "  1) " + good.certificate.fingerprint() + " \"" + good.certificate.commonName()
            + "\"\n     1 valid identities found\n"
              "     note=local rehearsal identities, not from Apple: 3\n");
    EXPECT_EQ(seen(), std::vector<std::string>{label(good)});

    EXPECT_EQ(run({"find-identity", "-p", "codesigning"}), 0);
    EXPECT_EQ(seen().size(), 4U) << "three that match, one of them valid:\n" << out;
    EXPECT_NE(out.find("\nPolicy: Code Signing\n  Matching identities\n  1) "), std::string::npos);
    EXPECT_NE(out.find(" \"Expired\" (CSSMERR_TP_CERT_EXPIRED)\n"), std::string::npos) << out;
    EXPECT_NE(out.find(" \"Stranger\" (CSSMERR_TP_NOT_TRUSTED)\n"), std::string::npos) << out;
    EXPECT_NE(
        out.find("     3 identities found\n\n  Valid identities only\n  1) "), std::string::npos);
    EXPECT_EQ(out.find("Mail"), std::string::npos) << "no identity for code";
    EXPECT_EQ(run({"find-identity", "-v"}), 0);
    EXPECT_EQ(seen().size(), 2U) << "mail is fine where nobody asks for code";

    folder.write("state/identities/" + expired.certificate.fingerprint() + ".key", "harmed");
    EXPECT_EQ(run({"find-identity", "-v", "-p", "codesigning"}), 0);
    EXPECT_EQ(seen(), std::vector<std::string>{label(good)});
    EXPECT_EQ(err.rfind("security: " + expired.certificate.fingerprint() + " can't be used", 0), 0U)
        << err;
}

TEST_F(Security, ImportsAndDeletes)
{
    const TestAuthority authority;
    const Identity identity = authority.identity();
    folder.write("key.pem", identity.key.pem() + identity.certificate.pem());
    folder.write("chain.pem", authority.issuer.pem() + authority.root.pem());
    ASSERT_EQ(folder.shell("openssl pkcs12 -export -in key.pem -certfile chain.pem -legacy "
                           "-passout pass:secret -out file.p12"),
        0)
        << folder.said;
    const std::string file = folder.path() / "file.p12";

    EXPECT_EQ(run({"import", file, "-P", "wrong"}), 1);
    EXPECT_EQ(err,
        "security: SecKeychainItemImport: MAC verification failed during PKCS12 import (wrong "
        "password?)\n");
    EXPECT_EQ(run({"import", file, "-k", "login.keychain", "-P", "secret", "-T",
                  "/usr/bin/codesign", "-A", "-f", "pkcs12"}),
        0)
        << err;
    EXPECT_EQ(out, "1 identity imported.\n2 certificates imported.\n");
    EXPECT_EQ(run({"import", file, "-P", "secret"}), 1);
    EXPECT_EQ(err,
        "security: SecKeychainItemImport: The specified item already exists in the keychain.\n");
    EXPECT_EQ(run({"import", folder.write("junk", "junk")}), 1);
    EXPECT_EQ(err, "security: SecKeychainItemImport: Unknown format in import.\n");
    EXPECT_EQ(run({"import", folder.path() / "missing"}), 1);
    EXPECT_NE(err.find("No such file or directory"), std::string::npos) << err;
    EXPECT_EQ(err.find('\n'), err.size() - 1) << "one line: " << err;

    EXPECT_EQ(run({"find-certificate", "-c", "developer id", "-p"}), 0);
    EXPECT_EQ(out, identity.certificate.pem());
    EXPECT_EQ(run({"find-certificate", "-a", "-Z"}), 0);
    EXPECT_NE(out.find("SHA-1 hash: " + authority.root.fingerprint() + "\n"), std::string::npos);
    EXPECT_EQ(run({"find-certificate", "-c", "nobody"}), 44);

    const std::string name = identity.certificate.commonName();
    EXPECT_EQ(run({"delete-identity", "-c", "Developer ID"}), 44) << "only the whole name will do";
    const std::string notFound = "security: SecKeychainSearchCopyNext: The specified item could "
                                 "not be found in the keychain.\n";
    EXPECT_EQ(err, notFound);
    EXPECT_EQ(run({"delete-identity", "-c", name}), 0) << err;
    EXPECT_EQ(run({"delete-identity", "-Z", identity.certificate.fingerprint()}), 44);
    EXPECT_EQ(run({"find-identity"}), 0);
    EXPECT_TRUE(seen().empty()) << out;
}

TEST_F(Security, CreatesRehearsalIdentities)
{
    EXPECT_EQ(run({"create-identity", "Example Maker", "ABCDE12345"}), 0) << err;
    EXPECT_NE(out.find("not from Apple"), std::string::npos) << out;
    EXPECT_EQ(run({"find-identity", "-v", "-p", "codesigning"}), 0);
    ASSERT_EQ(seen().size(), 1U) << out;
    EXPECT_EQ(seen()[0].substr(41), "Developer ID Application: Example Maker (ABCDE12345)");

    EXPECT_EQ(run({"create-identity", "Example Maker", "ABCDE12345"}), 0) << err;
    EXPECT_EQ(
        run({"delete-identity", "-c", "Developer ID Application: Example Maker (ABCDE12345)"}), 1)
        << "there are two";
}

TEST_F(Security, ExplainsWrongCalls)
{
    const std::vector<std::string> rows[] = {
        {},
        {"find-identities"},
        {"find-identity", "-x"},
        {"find-identity", "-p", "cooking"},
        {"import"},
        {"import", "one", "two"},
        {"delete-identity"},
        {"create-identity", "Only a name"},
        {"create-identity", "Maker", "too short"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(run(row), 2);
        EXPECT_EQ(out, "");
        EXPECT_NE(err.find("Usage: security "), std::string::npos) << err;
    }
}
