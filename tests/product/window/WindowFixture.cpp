#include "WindowFixture.h"

#include "ProgramRun.h"

#include <QComboBox>
#include <QFile>

using namespace Qt::StringLiterals;

FreshHome::FreshHome()
{
    qputenv("HOME", QFile::encodeName(m_folder.path()));
}

WindowFixture::WindowFixture()
{
    EXPECT_EQ(answer({"/bin/cp", "-a", SAMPLES_DIR "/Hello Vandor.app", app.toStdString()}), "0 ");
    window.resize(1200, 860);
    window.show();
}

std::string WindowFixture::answer(const std::vector<std::string>& command) const
{
    ProgramRun program(command, home.file({}).toStdString());
    const int status = program.wait();
    return std::to_string(status) + ' ' + program.output() + program.errors();
}

void WindowFixture::makeIdentity() const
{
    const std::string said =
        answer({tool("/usr/bin/security"), "create-identity", "Jane Doe", "ABCDE12345"});
    EXPECT_TRUE(said.starts_with("0 ")) << said;
}

void WindowFixture::go(NavigationStep step)
{
    NavigationManager& navigation = window.wizard().navigation();
    navigation.raiseMaxStepReached(rawValue(step));
    user.click(titleOf(step));
    EXPECT_TRUE(WindowUser::waitUntil([&] { return navigation.currentStep() == rawValue(step); }));
    QCoreApplication::processEvents();
}

void WindowFixture::chooseIdentity() const
{
    auto* identities = qobject_cast<QComboBox*>(user.control(u"Signing Identity"_s));
    ASSERT_NE(identities, nullptr);
    ASSERT_TRUE(WindowUser::waitUntil([&] { return identities->count() > 1; }));
    user.press(identities, Qt::Key_Down);
    EXPECT_TRUE(identities->currentText().contains(u"Jane Doe"_s));
}
