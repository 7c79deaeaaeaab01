#include "app/MainWindow.h"
#include "app/ProductServices.h"
#include "model/SettingsManager.h"
#include "platform/Clock.h"
#include "platform/UserDefaults.h"
#include "wizard/WizardView.h"

#include "ProgramRun.h"
#include "WindowUser.h"

#include <QComboBox>
#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// Waits are over on a later turn of the main loop.
class HastyClock : public Clock {
public:
    QDateTime now() const override { return Clock::system().now(); }
    QCoro::Task<> wait(std::chrono::milliseconds, CancellationHandle cancellation) override
    {
        return Clock::system().wait(std::chrono::milliseconds(1), std::move(cancellation));
    }
};

QString tool(const char* macPath)
{
    return QStringLiteral(TOOLBOX_DIR) + QString::fromLatin1(macPath);
}

/// What a program of the toolbox says, with its exit status before it.
std::string answer(const std::vector<std::string>& command)
{
    ProgramRun program(command, QDir::homePath().toStdString());
    const int status = program.wait();
    return std::to_string(status) + ' ' + program.output() + program.errors();
}

/// The main window in a fresh home, with the sample application and a rehearsal's identity in it.
class WholeWay : public testing::Test {
public:
    WholeWay()
    {
        EXPECT_TRUE(answer(
            {tool("/usr/bin/security").toStdString(), "create-identity", "Jane Doe", "ABCDE12345"})
                        .starts_with("0 "));
        EXPECT_EQ(
            answer({"/bin/cp", "-a", SAMPLES_DIR "/Hello Vandor.app", app.toStdString()}), "0 ");
        window.resize(1200, 860);
        window.show();
    }

    DMGConfig job() { return window.wizard().job().config(); }
    void goOn()
    {
        ASSERT_TRUE(WindowUser::waitUntil([&] { return user.control(u"Next"_s)->isEnabled(); }));
        user.click(u"Next"_s);
    }
    void chooseJane()
    {
        auto* identities = qobject_cast<QComboBox*>(user.control(u"Signing Identity"_s));
        ASSERT_NE(identities, nullptr);
        ASSERT_TRUE(WindowUser::waitUntil([&] { return identities->count() > 1; }));
        user.press(identities, Qt::Key_Down);
        EXPECT_TRUE(identities->currentText().contains(u"Jane Doe"_s));
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
        chooseJane();
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
        saveAs(image);
        ASSERT_TRUE(user.waitToSee(u"DMG Created Successfully!"_s)) << seen();
    }
    void saveAs(const QString& path);
    std::string seen() const { return user.everythingInView().toStdString(); }

    QString home = QDir::homePath();
    QString app = home + u"/Jané’s “Tool”.app"_s;
    QString image = home + u"/Jané’s Tool 1.0.dmg"_s;
    UserDefaults defaults{home + u"/defaults.plist"_s};
    SettingsManager settings{defaults};
    HastyClock clock;
    ProductServices services{
        {SystemRoot(QStringLiteral(TOOLBOX_DIR), home + u"/.local/share/vandor-dmg"_s), defaults,
            settings, clock, home}};
    MainWindow window{services.wizardHost([] {}), settings};
    WindowUser user;
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
    EXPECT_NE(
        answer({tool("/usr/bin/hdiutil").toStdString(), "imageinfo", path}).find("Format: UDZO"),
        std::string::npos);
    EXPECT_TRUE(answer({"/usr/bin/7zz", "t", "-tdmg", path}).starts_with("0 "));
    EXPECT_TRUE(window.close());
}
