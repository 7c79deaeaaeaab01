#include "NotarizationFixture.h"

#include "notarization/NotaryError.h"
#include "notarization/NotaryToolClient.h"
#include "platform/LaunchError.h"

using namespace Qt::StringLiterals;

namespace {

using NotaryToolClientTest = NotarizationFixture;

TEST_F(NotaryToolClientTest, StoresAProfile)
{
    await(NotaryToolClient::storeCredentials(
        tools, u"My Profile"_s, u"ada@example.org"_s, u"ABCDE12345"_s, u"a b\"$c"_s));
    EXPECT_EQ(scripted.calls(),
        QStringList(u"xcrun <notarytool> <store-credentials> <My Profile> <--apple-id> "
                    u"<ada@example.org> <--team-id> <ABCDE12345> <--password> <a b\"$c>"_s));
}

TEST_F(NotaryToolClientTest, ARefusalCarriesBothStreamsAsTheyCame)
{
    scripted.answer(u"store-credentials"_s,
        u"echo 'Validating your credentials...'; echo 'Error: HTTP status code: 401.' >&2; "
        u"echo end; exit 1"_s);
    try {
        await(NotaryToolClient::storeCredentials(tools, u"p"_s, u"a"_s, u"t"_s, u"s"_s));
        ADD_FAILURE() << "succeeds";
    } catch (const NotaryError& error) {
        EXPECT_EQ(error.description(),
            u"Validating your credentials...\nError: HTTP status code: 401.\nend\n"_s);
    }
}

TEST_F(NotaryToolClientTest, VerifyingTellsTheHistory)
{
    EXPECT_EQ(await(NotaryToolClient::verifyCredentials(tools, u"p"_s)),
        u"Credentials Verified. History Check:\nSuccessfully received submission history.\n"_s);
    EXPECT_EQ(
        scripted.calls(), QStringList(u"xcrun <notarytool> <history> <--keychain-profile> <p>"_s));

    // More than a pipe holds.
    scripted.answer(u"history"_s, u"head -c 300000 /dev/zero | tr '\\0' x"_s);
    EXPECT_EQ(await(NotaryToolClient::verifyCredentials(tools, u"p"_s)).size(),
        u"Credentials Verified. History Check:\n"_s.size() + 300'000);
    scripted.answer(u"history"_s, u"printf '\\377'; exit 1"_s);
    EXPECT_THROW(await(NotaryToolClient::verifyCredentials(tools, u"p"_s)), NotaryError);
}

TEST_F(NotaryToolClientTest, AMissingToolIsALaunchError)
{
    scripted.remove(u"/usr/bin/xcrun"_s);
    EXPECT_THROW(await(NotaryToolClient::verifyCredentials(tools, u"p"_s)), LaunchError);
    EXPECT_THROW(await(NotaryToolClient::storeCredentials(tools, u"p"_s, u"a"_s, u"t"_s, u"s"_s)),
        LaunchError);
}

} // namespace
