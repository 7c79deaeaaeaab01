#include "WindowFixture.h"

#include <QComboBox>
#include <QProgressBar>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

class WholeWay : public WindowFixture {
public:
    void goOn()
    {
        ASSERT_TRUE(WindowUser::waitUntil([&] { return user.control(u"Next"_s)->isEnabled(); }));
        user.click(u"Next"_s);
    }
    /// The identity that signed the application is chosen already.
    void findJane()
    {
        auto* identities = qobject_cast<QComboBox*>(user.control(u"Signing Identity"_s));
        ASSERT_NE(identities, nullptr);
        EXPECT_TRUE(WindowUser::waitUntil(
            [&] { return identities->currentText().contains(u"Jane Doe"_s); }));
    }
    void signApplication()
    {
        ASSERT_TRUE(user.waitToSee(u"Pre-Flight App Signing"_s));
        chooseIdentity();
        user.click(u"Sign App Bundle & Enable Hardened Runtime"_s);
        ASSERT_TRUE(user.waitToSee(u"Signed · "_s)) << seen();
    }
    void notarizeApplication()
    {
        user.type(u"Keychain Profile Name"_s, u"local"_s);
        user.click(u"Zip & Notarize Application"_s);
        ASSERT_TRUE(user.waitToSee(u"Notarized & Stapled"_s)) << seen();
    }
    void build()
    {
        user.click(u"Build DMG"_s);
        const QSignalSpy shares(window.findChild<QProgressBar*>(), &QProgressBar::valueChanged);
        saveAs(image);
        ASSERT_TRUE(user.waitToSee(u"DMG Created Successfully!"_s)) << seen();
        EXPECT_GT(shares.count(), 0);
    }
    void saveAs(const QString& path);
};

void WholeWay::saveAs(const QString& path)
{
    QWidget* name = nullptr;
    ASSERT_TRUE(WindowUser::waitUntil([&] {
        name = window.findChild<QWidget*>(u"fileNameEdit"_s);
        return name != nullptr && name->isVisible();
    }));
    user.typeInto(name, path);
    user.click(u"&Save"_s);
}

} // namespace

TEST_F(WholeWay, FromADroppedApplicationToAnImageReadyForDistribution)
{
    makeIdentity();
    user.click(u"Assets"_s);
    ASSERT_NO_FATAL_FAILURE(user.drop(u"Application"_s, app));
    ASSERT_NO_FATAL_FAILURE(
        user.drop(u"Background"_s, QStringLiteral(SAMPLES_DIR "/background.png")));
    ASSERT_NO_FATAL_FAILURE(goOn());
    ASSERT_NO_FATAL_FAILURE(signApplication());
    ASSERT_NO_FATAL_FAILURE(goOn());
    ASSERT_NO_FATAL_FAILURE(notarizeApplication());
    ASSERT_NO_FATAL_FAILURE(goOn());
    user.type(u"Width"_s, u"640"_s);
    user.type(u"Volume Name"_s, u"Jané’s Tool"_s);
    EXPECT_TRUE(WindowUser::waitUntil([&] { return job().windowWidth == 640; }));
    ASSERT_NO_FATAL_FAILURE(goOn());
    ASSERT_NO_FATAL_FAILURE(build());

    user.click(u"Continue to Signing"_s);
    ASSERT_NO_FATAL_FAILURE(findJane());
    user.click(u"Sign DMG"_s);
    ASSERT_TRUE(user.waitToSee(u"Signing Successful!"_s)) << seen();
    ASSERT_NO_FATAL_FAILURE(goOn());
    user.type(u"Profile Name"_s, u"local"_s);
    user.click(u"Notarize & Staple"_s);
    ASSERT_TRUE(user.waitToSee(u"Ready for Distribution!"_s)) << seen();
    EXPECT_TRUE(user.sees(u"Gatekeeper Ready"_s)) << seen();

    const std::string path = image.toStdString();
    EXPECT_NE(answer({tool("/usr/bin/hdiutil"), "imageinfo", path}).find("Format: UDZO"),
        std::string::npos);
    EXPECT_TRUE(answer({"/usr/bin/7zz", "t", "-tdmg", path}).starts_with("0 "));
    EXPECT_TRUE(window.close());
}
