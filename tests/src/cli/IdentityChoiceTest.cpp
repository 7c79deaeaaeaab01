#include "cli/IdentityChoice.h"
#include "cli/UsageError.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(IdentityChoice, IsTheOneThatWasMeantOrNone)
{
    const SigningIdentity ada{QUuid::createUuid(), QString(40, u'A'), u"Developer ID: Ada (T1)"_s};
    const SigningIdentity old{QUuid::createUuid(), QString(40, u'0'), ada.name};
    const SigningIdentity team{QUuid::createUuid(), QString(40, u'B'), u"Ada"_s};
    const SigningIdentity twin{QUuid::createUuid(), ada.sha1, ada.name};
    struct Row {
        const char* name;
        QList<SigningIdentity> identities;
        std::optional<QString> asked;
        std::optional<SigningIdentity> remembered;
        std::optional<SigningIdentity> chosen;
        QString refusal; // some of it
    };
    const Row rows[] = {
        {"the only one", {ada}, {}, {}, ada, {}},
        {"the only one, listed twice", {ada, twin}, {}, {}, ada, {}},
        {"the remembered one", {ada, team}, {}, team, team, {}},
        {"the one asked for before the remembered one", {ada, team}, u"T1"_s, team, ada, {}},
        {"by fingerprint, in small letters", {ada, old}, QString(40, u'a'), {}, ada, {}},
        {"by its whole name before parts", {ada, team}, u"Ada"_s, {}, team, {}},
        {"several and nothing said", {ada, team}, {}, {}, {}, u"several identities"_s},
        {"two of one name", {ada, old}, ada.name, {}, {}, u"by its fingerprint"_s},
        {"parts of two", {ada, team}, u"da"_s, {}, {}, u"fits several"_s},
        {"no such identity", {ada, team}, u"Bob"_s, ada, {}, ada.sha1 + u' ' + ada.name},
        {"nothing", {ada}, u""_s, ada, {}, u"no identity “”"_s},
    };
    for (const Row& row : rows) {
        try {
            EXPECT_EQ(chosenIdentity(row.identities, row.asked, row.remembered), row.chosen)
                << row.name;
        } catch (const UsageError& error) {
            EXPECT_FALSE(row.chosen) << row.name;
            EXPECT_TRUE(QString::fromUtf8(error.what()).contains(row.refusal))
                << row.name << ": " << error.what();
        }
    }
}

} // namespace
