#include "keychain/IdentityFile.h"
#include "KeychainBench.h"
#include "bytes/FormatError.h"
#include "keychain/DecryptionBudget.h"

#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <openssl/pem.h>

using namespace keychain;

namespace {

/// An identity as files for OpenSSL's command line.
struct FileBench {
    TestAuthority authority;
    Identity identity = authority.identity();
    TemporaryFolder folder;

    FileBench()
    {
        folder.write("key.pem", identity.key.pem());
        folder.write("leaf.pem", identity.certificate.pem());
        folder.write("chain.pem", authority.root.pem() + authority.issuer.pem());
    }

    std::vector<std::byte> made(const std::string& command) const
    {
        EXPECT_EQ(folder.shell(command), 0) << command << ": " << folder.said;
        return folder.read("made");
    }
};

const std::string exporting = "openssl pkcs12 -export -inkey key.pem -in leaf.pem -certfile "
                              "chain.pem -name Somebody -out made ";

/// Whatever a file is, reading it ends with an answer or a failure of its own kind.
void readWithoutHarm(const std::vector<std::byte>& file)
{
    try {
        IdentityFile::read(file, "secret");
    } catch (const bytes::FormatError&) {
    } catch (const WrongPassword&) {
    } catch (const CryptoError&) { }
}

void damageEverywhere(const std::vector<std::byte>& file, std::size_t step)
{
    for (std::size_t at = 0; at < file.size(); at += step) {
        readWithoutHarm({file.begin(), file.begin() + static_cast<std::ptrdiff_t>(at)});
        for (const int mask : {0x01, 0x80, 0xFF}) {
            auto damaged = file;
            damaged[at] ^= static_cast<std::byte>(mask);
            readWithoutHarm(damaged);
        }
    }
}

} // namespace

TEST(IdentityFile, IsReadInEveryForm)
{
    const FileBench bench;
    struct Row {
        const char* what;
        std::string command;
        std::string password;
    };
    const Row rows[] = {
        {"PKCS#12 of today", exporting + "-passout pass:secret", "secret"},
        {"old PKCS#12, RC2 and triple DES", exporting + "-legacy -passout pass:secret", "secret"},
        {"password beyond ASCII", exporting + "-passout pass:Zoë", "Zoë"},
        {"empty password", exporting + "-passout pass:", ""},
        {"old with an empty password", exporting + "-legacy -passout pass:", ""},
        {"nothing encrypted", exporting + "-passout pass:secret -keypbe NONE -certpbe NONE",
            "secret"},
        {"without integrity check", exporting + "-nomac -passout pass:secret", "secret"},
        {"PEM, the key last", "cat chain.pem leaf.pem key.pem >made", ""},
        {"PEM with an encrypted key",
            "openssl pkcs8 -topk8 -in key.pem -passout pass:secret -out enc.pem && "
            "cat enc.pem leaf.pem chain.pem >made",
            "secret"},
        {"PEM with a key of the old form",
            "openssl ec -in key.pem -out ec.pem && cat ec.pem leaf.pem chain.pem >made", ""},
        {"PEM with an encrypted key of the old form",
            "openssl ec -in key.pem -aes128 -passout pass:secret -out ec.pem && "
            "cat ec.pem leaf.pem chain.pem >made",
            "secret"},
    };
    for (const Row& row : rows) {
        const IdentityFile file = IdentityFile::read(bench.made(row.command), row.password);
        ASSERT_EQ(file.identities.size(), 1U) << row.what;
        const Identity& identity = file.identities[0];
        EXPECT_EQ(identity.chain(), bench.identity.chain()) << row.what;
        EXPECT_TRUE(identity.key.fits(bench.identity.certificate)) << row.what;
        EXPECT_EQ(file.certificates.size(), 2U) << row.what;
    }
}

TEST(IdentityFile, WithTheWrongPasswordStaysShut)
{
    const FileBench bench;
    const std::string rows[] = {
        exporting + "-passout pass:secret",
        exporting + "-legacy -passout pass:secret",
        exporting + "-nomac -passout pass:secret",
        "openssl pkcs8 -topk8 -in key.pem -passout pass:secret -out made && cat leaf.pem >>made",
        "openssl ec -in key.pem -aes128 -passout pass:secret -out made && cat leaf.pem >>made",
    };
    for (const std::string& row : rows) {
        const auto file = bench.made(row);
        for (const char* password : {"Secret", "", "secret "})
            EXPECT_THROW(IdentityFile::read(file, password), WrongPassword) << row << password;
    }
}

TEST(IdentityFile, WhosePaddingAWrongPasswordFitsStaysShutAsWell)
{
    const FileBench bench;
    const auto file = bench.made(
        "openssl ec -in key.pem -aes128 -passout pass:secret -out made && cat leaf.pem >>made");
    for (int i = 0; i < 2000; ++i)
        ASSERT_THROW(IdentityFile::read(file, std::to_string(i)), WrongPassword) << i;
}

TEST(IdentityFile, MayHoldSeveralKeysOrNone)
{
    const FileBench bench;
    const Identity other = bench.authority.identity({.name = "Other"});
    bench.folder.write("other.pem", other.key.pem() + other.certificate.pem());
    bench.folder.write("certificate.der", bench.authority.issuer.der());
    const IdentityFile two =
        IdentityFile::read(bench.made("cat key.pem other.pem chain.pem leaf.pem >made"), "");
    ASSERT_EQ(two.identities.size(), 2U);
    EXPECT_EQ(two.identities[0].chain(), bench.identity.chain());
    EXPECT_EQ(two.identities[1].chain(), other.chain());

    const IdentityFile none = IdentityFile::read(bench.folder.read("certificate.der"), "");
    EXPECT_TRUE(none.identities.empty());
    EXPECT_EQ(none.certificates, (std::vector<Certificate>{bench.authority.issuer}));
    EXPECT_EQ(IdentityFile::read(bench.made("openssl pkcs12 -export -nokeys -in chain.pem "
                                            "-passout pass: -out made"),
                  "")
                  .certificates.size(),
        2U);
    EXPECT_THROW(IdentityFile::read(bytesOf("-----BEGIN "), ""), bytes::FormatError);
    EXPECT_THROW(IdentityFile::read({}, ""), bytes::FormatError);
    EXPECT_THROW(IdentityFile::read(bench.folder.read("key.pem"), ""), bytes::FormatError)
        << "a key alone is nobody";
}

TEST(IdentityFile, MayNotKeepTheReaderBusyForHours)
{
    using SchemeOwner = std::unique_ptr<X509_ALGOR, Free<X509_ALGOR_free>>;
    using EncryptedOwner = std::unique_ptr<X509_SIG, Free<X509_SIG_free>>;
    constexpr int rounds = 2'000'000'000;
    const SchemeOwner schemes[] = {
        SchemeOwner(PKCS5_pbe2_set(EVP_aes_256_cbc(), rounds, nullptr, 8)),
        SchemeOwner(PKCS5_pbe_set(NID_pbe_WithSHA1And3_Key_TripleDES_CBC, rounds, nullptr, 8)),
    };
    const auto start = std::chrono::steady_clock::now();
    for (const SchemeOwner& scheme : schemes) {
        const EncryptedOwner encrypted(X509_SIG_new());
        X509_ALGOR* algorithm = nullptr;
        ASN1_OCTET_STRING* content = nullptr;
        X509_SIG_getm(encrypted.get(), &algorithm, &content);
        ASSERT_EQ(X509_ALGOR_copy(algorithm, scheme.get()), 1);
        ASN1_OCTET_STRING_set(
            content, reinterpret_cast<const unsigned char*>("0123456789abcdef"), 16);
        const BioOwner pem = writingToMemory();
        ASSERT_EQ(PEM_write_bio_PKCS8(pem.get(), encrypted.get()), 1);
        EXPECT_THROW(IdentityFile::read(writtenTo(pem.get()), "secret"), bytes::FormatError);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));

    DecryptionBudget budget;
    budget.spend(10'000'000);
    budget.spend(10'000'000);
    EXPECT_THROW(budget.spend(1), bytes::FormatError) << "all pieces of a file count together";
    EXPECT_THROW(DecryptionBudget().spend(-1), bytes::FormatError);
}

TEST(IdentityFile, DamagedAnywhereDoesNoHarm)
{
    const FileBench bench;
    const std::string quick = "-passout pass:secret -iter 1 ";
    damageEverywhere(bench.made(exporting + quick), 17);
    damageEverywhere(bench.made(exporting + quick + "-legacy"), 17);
    damageEverywhere(bench.made(exporting + quick + "-keypbe NONE -certpbe NONE -nomac"), 7);
    damageEverywhere(bench.made("cat key.pem leaf.pem >made"), 11);
    damageEverywhere(bench.made("openssl pkcs8 -topk8 -in key.pem -passout pass:secret -iter 1 "
                                "-out made && cat leaf.pem >>made"),
        11);
}
