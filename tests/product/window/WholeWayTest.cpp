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
    QWidget* saveDialogsName() const;
    void saveAs(const QString& path) const;
};

QWidget* WholeWay::saveDialogsName() const
{
    QWidget* name = nullptr;
    EXPECT_TRUE(WindowUser::waitUntil([&] {
        name = window.findChild<QWidget*>(u"fileNameEdit"_s);
        return name != nullptr && name->isVisible();
    }));
    return name;
}

void WholeWay::saveAs(const QString& path) const
{
    user.typeInto(saveDialogsName(), path);
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

TEST_F(WholeWay, ANotarizedImageWaitsForAQuestionAndIsNotMistakenForAnother)
{
    makeIdentity();
    const std::string folder = home.file(u"in"_s).toStdString();
    const std::string codesign = tool("/usr/bin/codesign");
    for (const std::vector<std::string>& command :
        {std::vector<std::string>{codesign, "--force", "--deep", "--options", "runtime",
             "--timestamp", "-s", "Developer ID Application", app.toStdString()},
            {"/bin/mkdir", folder}, {"/bin/mv", app.toStdString(), folder},
            {tool("/usr/bin/hdiutil"), "create", "-srcfolder", folder, image.toStdString()},
            {codesign, "--timestamp", "-s", "Developer ID Application", image.toStdString()}}) {
        const std::string said = answer(command);
        ASSERT_TRUE(said.starts_with("0 ")) << said;
    }
    window.wizard().job().edit(
        [this](DMGConfig& edited) { edited.outputURL = QUrl::fromLocalFile(image); });
    NavigationManager& navigation = window.wizard().navigation();
    go(NavigationStep::notarization);
    user.type(u"Profile Name"_s, u"local"_s);
    user.click(u"Notarize & Staple"_s);
    go(NavigationStep::build);
    user.click(u"Build DMG"_s);
    QWidget* name = saveDialogsName();
    ASSERT_TRUE(WindowUser::waitUntil([&] {
        return navigation.maxStepReached() == rawValue(NavigationStep::distribution);
    })) << seen();
    QCoreApplication::processEvents();
    ASSERT_TRUE(name->isVisible());
    user.press(name, Qt::Key_Escape);
    ASSERT_TRUE(user.waitToSee(u"Ready for Distribution!"_s)) << seen();

    go(NavigationStep::notarization);
    EXPECT_TRUE(user.sees(u"Notarized & Stapled"_s)) << seen();
    window.wizard().job().edit(
        [this](DMGConfig& edited) { edited.outputURL = QUrl::fromLocalFile(app + u".dmg"_s); });
    EXPECT_TRUE(user.sees(u"Ready to Notarize"_s)) << seen();
}
