#include "SigningFixture.h"

using namespace Qt::StringLiterals;

const QString SigningFixture::ada = u"0123456789ABCDEF0123456789ABCDEF01234567"_s;
const QString SigningFixture::bob = u"FEDCBA9876543210FEDCBA9876543210FEDCBA98"_s;

SigningFixture::SigningFixture()
{
    qputenv("HOME", QFile::encodeName(scratch.path())); // no startup file of the user's
}

void SigningFixture::scan()
{
    manager->fetchIdentities();
    EXPECT_TRUE(turnUntil([this] { return !manager->isScanning(); })) << "the scan hangs";
}

void SigningFixture::list(const QList<std::pair<QString, QString>>& identities) const
{
    QString lines;
    for (const auto& [sha1, name] : identities)
        lines += identityLine(sha1, name);
    scripted.answer(u"find-identity"_s,
        u"cat <<'END'\n%1     %2 valid identities found\nEND\n"_s.arg(lines).arg(
            identities.size()));
}
