#include "SigningFixture.h"

#include "signing/KeychainManager.h"
#include "signing/SecurityToolKeychain.h"

using namespace Qt::StringLiterals;

namespace {

using KeychainManagerTest = SigningFixture;

TEST_F(KeychainManagerTest, AccessIsTheFirstIdentitysName)
{
    struct Row {
        const char* name;
        QString answer;
        std::optional<QString> identity;
    };
    const QString lines = identityLine(ada, u"Ada"_s) + identityLine(bob, u"Bob"_s);
    const Row rows[] = {
        {"two", u"echo '%1'"_s.arg(lines), u"Ada"_s},
        {"an empty keychain", u"echo ' 0 valid identities found'"_s, std::nullopt},
        {"a certificate without a name", u"echo '%1'"_s.arg(identityLine(ada, u""_s)),
            std::nullopt},
        {"a keychain that can't be read", u"echo '%1'; exit 36"_s.arg(lines), std::nullopt},
        {"no UTF-8", u"echo '%1'; printf '\\377'"_s.arg(lines), std::nullopt},
    };
    SecurityToolKeychain keychain(tools);
    KeychainManager access(keychain);
    access.setLastError(u"still missing"_s);
    for (const Row& row : rows) {
        scripted.answer(u"find-identity"_s, u"echo '%1'"_s.arg(lines));
        ASSERT_TRUE(await(access.checkAccess())) << row.name;
        scripted.answer(u"find-identity"_s, row.answer);
        EXPECT_EQ(await(access.checkAccess()), row.identity.has_value()) << row.name;
        EXPECT_EQ(access.hasKeychainAccess(), row.identity.has_value()) << row.name;
        EXPECT_EQ(access.signingIdentity(), row.identity) << row.name;
    }
    EXPECT_EQ(access.lastError(), u"still missing"_s) << "a probe leaves it";
    scripted.remove(u"/usr/bin/security"_s);
    EXPECT_FALSE(await(access.checkAccess()));
}

} // namespace
