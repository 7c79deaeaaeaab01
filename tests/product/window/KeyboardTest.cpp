#include "WindowFixture.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>

using namespace Qt::StringLiterals;

namespace {

/// Somebody without a mouse: every key goes to what has the focus.
class Keyboard : public WindowFixture {
public:
    Keyboard() { window.activateWindow(); }

    /// Tabs to a button once it can be pressed, and presses it.
    void activate(const QString& name)
    {
        ASSERT_TRUE(WindowUser::waitUntil([&] { return user.control(name)->isEnabled(); }));
        ASSERT_NO_FATAL_FAILURE(user.tabTo(name));
        user.key(Qt::Key_Space);
    }
    void fill(const QString& field, const QString& text)
    {
        ASSERT_NO_FATAL_FAILURE(user.tabTo(field));
        user.key(Qt::Key_A, Qt::ControlModifier);
        user.keys(text);
    }
    /// In a file dialog, where the name has the focus already.
    void enterPath(const QString& path)
    {
        ASSERT_TRUE(WindowUser::waitUntil([] {
            const QWidget* focus = QApplication::focusWidget();
            return focus != nullptr && focus->objectName() == "fileNameEdit"_L1;
        }));
        user.key(Qt::Key_A, Qt::ControlModifier);
        user.keys(path);
        user.key(Qt::Key_Return);
    }
    void chooseAssets()
    {
        ASSERT_NO_FATAL_FAILURE(activate(u"Assets"_s));
        ASSERT_NO_FATAL_FAILURE(activate(u"Browse for Application"_s));
        ASSERT_NO_FATAL_FAILURE(enterPath(app));
        ASSERT_TRUE(WindowUser::waitUntil([&] { return job().appURL.has_value(); }));
        ASSERT_NO_FATAL_FAILURE(activate(u"Browse for Background"_s));
        ASSERT_NO_FATAL_FAILURE(enterPath(QStringLiteral(SAMPLES_DIR "/background.png")));
        ASSERT_TRUE(WindowUser::waitUntil([&] { return job().backgroundURL.has_value(); }));
    }
    void signApplication()
    {
        ASSERT_NO_FATAL_FAILURE(user.tabTo(u"Signing Identity"_s));
        auto* identities = qobject_cast<QComboBox*>(QApplication::focusWidget());
        ASSERT_TRUE(WindowUser::waitUntil([&] { return identities->count() > 1; }));
        user.key(Qt::Key_Down);
        ASSERT_NO_FATAL_FAILURE(activate(u"Sign App Bundle & Enable Hardened Runtime"_s));
        ASSERT_TRUE(user.waitToSee(u"Signed · "_s)) << seen();
    }
    void configure()
    {
        ASSERT_NO_FATAL_FAILURE(fill(u"Volume Name"_s, u"Jané’s Tool"_s));
        ASSERT_NO_FATAL_FAILURE(fill(u"Width"_s, u"640"_s));
        ASSERT_NO_FATAL_FAILURE(user.tabTo(u"Icon size"_s));
        user.key(Qt::Key_Left);
        EXPECT_TRUE(WindowUser::waitUntil([&] { return job().iconSize == 112; }));
        EXPECT_EQ(job().windowWidth, 640);
    }
    void build()
    {
        ASSERT_NO_FATAL_FAILURE(activate(u"Build DMG"_s));
        ASSERT_NO_FATAL_FAILURE(enterPath(image));
        ASSERT_TRUE(user.waitToSee(u"DMG Created Successfully!"_s)) << seen();
        EXPECT_EQ(window.focusWidget(), user.control(u"Continue to Signing"_s));
    }
    void goOn(const QString& to)
    {
        user.key(Qt::Key_Return);
        ASSERT_TRUE(user.waitToSee(to)) << seen();
    }
};

} // namespace

TEST_F(Keyboard, DoesTheWholeJob)
{
    makeIdentity();
    ASSERT_NO_FATAL_FAILURE(chooseAssets());
    ASSERT_NO_FATAL_FAILURE(goOn(u"Pre-Flight App Signing"_s));
    ASSERT_NO_FATAL_FAILURE(signApplication());
    ASSERT_NO_FATAL_FAILURE(goOn(u"Notary Credentials"_s));
    ASSERT_NO_FATAL_FAILURE(fill(u"Keychain Profile Name"_s, u"local"_s));
    ASSERT_NO_FATAL_FAILURE(activate(u"Zip & Notarize Application"_s));
    ASSERT_TRUE(user.waitToSee(u"Notarized & Stapled"_s)) << seen();
    ASSERT_NO_FATAL_FAILURE(goOn(u"General Settings"_s));
    ASSERT_NO_FATAL_FAILURE(configure());
    ASSERT_NO_FATAL_FAILURE(goOn(u"Ready to package:"_s));
    ASSERT_NO_FATAL_FAILURE(build());
    user.key(Qt::Key_Space);
    ASSERT_NO_FATAL_FAILURE(activate(u"Sign DMG"_s));
    ASSERT_TRUE(user.waitToSee(u"Signing Successful!"_s)) << seen();
    ASSERT_NO_FATAL_FAILURE(goOn(u"Ready to Notarize"_s));
    ASSERT_NO_FATAL_FAILURE(fill(u"Profile Name"_s, u"local"_s));
    ASSERT_NO_FATAL_FAILURE(activate(u"Notarize & Staple"_s));
    ASSERT_TRUE(user.waitToSee(u"Ready for Distribution!"_s)) << seen();
    user.key(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_FALSE(window.isVisible());
}

TEST_F(Keyboard, TabLeadsThroughTheScreenToTheWayOnAndToTheSteps)
{
    window.wizard().job().edit(
        [this](DMGConfig& edited) { edited.appURL = QUrl::fromLocalFile(app); });
    go(NavigationStep::appSigning);
    const QString stops[] = {u"Re-Scan"_s, u"Signing Identity"_s,
        u"Sign App Bundle & Enable Hardened Runtime"_s, u"Inspection Logs"_s, u"Back"_s, u"Next"_s,
        u"Assets"_s, u"App Signing"_s, u"New Project"_s, u"Settings"_s};
    for (const QString& stop : stops) {
        user.key(Qt::Key_Tab);
        EXPECT_EQ(QApplication::focusWidget(), user.control(stop)) << stop.toStdString();
    }
    user.key(Qt::Key_Tab); // round
    for (const QString& stop : {stops[0], stops[9], stops[8]}) {
        EXPECT_EQ(QApplication::focusWidget(), user.control(stop)) << stop.toStdString();
        user.key(Qt::Key_Backtab, Qt::ShiftModifier);
    }
    user.key(Qt::Key_F9); // no sidebar any more
    ASSERT_NO_FATAL_FAILURE(user.tabTo(u"Next"_s));
    user.key(Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), user.control(stops[0]));
}

TEST_F(Keyboard, ANewProjectHasNothingOfWhatWasBeingTyped)
{
    go(NavigationStep::configuration);
    ASSERT_NO_FATAL_FAILURE(fill(u"App Icon X"_s, u"200"_s));
    user.key(Qt::Key_Tab);
    ASSERT_TRUE(WindowUser::waitUntil([&] { return job().appIconPosition.x() == 200; }));
    ASSERT_NO_FATAL_FAILURE(fill(u"App Icon X"_s, u"140x"_s));
    user.key(Qt::Key_N, Qt::ControlModifier);
    QCoreApplication::processEvents();
    EXPECT_EQ(job().appIconPosition, QPointF(140, 200));
    EXPECT_EQ(job().layout, IconLayout::classic);
}

TEST_F(Keyboard, StaysAmongTheRecentsWhenOneIsRemoved)
{
    go(NavigationStep::assets);
    for (const QString& name : {u"one.png"_s, u"two.png"_s, u"three.png"_s}) {
        ASSERT_TRUE(QFile::copy(QStringLiteral(SAMPLES_DIR "/background.png"), home.file(name)));
        window.wizard().job().edit([&](DMGConfig& edited) {
            edited.backgroundURL = QUrl::fromLocalFile(home.file(name));
        });
        ASSERT_TRUE(WindowUser::waitUntil([&] { return user.control(u"Remove "_s + name); }));
    }
    const QWidget* untouched = user.control(u"one.png"_s);
    activate(u"Remove two.png"_s); // the middle one: the last choice comes first
    EXPECT_EQ(user.control(u"one.png"_s), untouched);
    EXPECT_EQ(QApplication::focusWidget(), untouched);
    activate(u"Remove one.png"_s);
    EXPECT_EQ(QApplication::focusWidget(), user.control(u"three.png"_s));
    activate(u"Remove three.png"_s);
    EXPECT_EQ(job().backgroundURL, std::nullopt);
}

TEST_F(Keyboard, LeadsBackFromEveryControlThatIsNoFieldForText)
{
    window.wizard().job().edit(
        [this](DMGConfig& edited) { edited.appURL = QUrl::fromLocalFile(app); });
    const struct {
        QString control;
        NavigationStep step;
        bool leadsBack;
    } rows[] = {{u"Icon size"_s, NavigationStep::configuration, true},
        {u"Classic (Side-by-Side)"_s, NavigationStep::configuration, true},
        {u"Volume Name"_s, NavigationStep::configuration, false},
        {u"Build Log"_s, NavigationStep::build, true}, {u"Back"_s, NavigationStep::build, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.control.toStdString());
        go(row.step);
        const auto iconSize = job().iconSize;
        user.control(row.control)->setFocus();
        user.key(Qt::Key_Left, Qt::ControlModifier);
        EXPECT_NE(window.wizard().navigation().currentStep() == rawValue(row.step), row.leadsBack);
        EXPECT_EQ(job().iconSize, iconSize);
    }
}
