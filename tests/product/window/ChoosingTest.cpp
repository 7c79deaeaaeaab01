#include "WindowFixture.h"

#include <QAbstractItemView>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

class Choosing : public WindowFixture {
public:
    Choosing() { go(NavigationStep::assets); }

    /// The dialog for an application, in the home.
    void browse()
    {
        user.click(u"Browse for Application"_s);
        ASSERT_NE(dialog(), nullptr);
        name = dialog()->findChild<QWidget*>(u"fileNameEdit"_s);
        confirm(home.file({}));
        EXPECT_NE(dialog(), nullptr); // a folder that is none is entered
    }
    void confirm(const QString& path) const
    {
        user.typeInto(name, path);
        user.press(name, Qt::Key_Return);
    }
    QFileDialog* dialog() const { return window.findChild<QFileDialog*>(); }

    /// Presses on the application among the files, once it is listed.
    void mark(bool twice) const
    {
        auto* list = dialog()->findChild<QAbstractItemView*>(u"listView"_s);
        ASSERT_NE(list, nullptr);
        QModelIndex found;
        ASSERT_TRUE(WindowUser::waitUntil([&] {
            const QModelIndex root = list->rootIndex();
            for (int row = 0; row < list->model()->rowCount(root); ++row) {
                const QModelIndex each = list->model()->index(row, 0, root);
                if (each.data().toString() == QFileInfo(app).fileName())
                    found = each;
            }
            return found.isValid();
        }));
        list->scrollTo(found);
        const QPoint at = list->visualRect(found).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
        if (twice)
            QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
    }
    /// The application is the job's and the dialog is gone; for the next way it is taken back.
    void expectChosen() const
    {
        EXPECT_TRUE(WindowUser::waitUntil([&] { return user.sees(QFileInfo(app).fileName()); }))
            << seen();
        EXPECT_TRUE(WindowUser::waitUntil([&] { return dialog() == nullptr; }));
        user.click(u"Clear Application"_s);
    }

    QWidget* name = nullptr;
};

bool anyChildRuns()
{
    const QString tasks = u"/proc/self/task/"_s;
    for (const QString& task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile children(tasks + task + u"/children"_s);
        if (children.open(QIODevice::ReadOnly) && !children.readAll().isEmpty())
            return true;
    }
    return false;
}

} // namespace

TEST_F(Choosing, AnApplicationIsOneThingHoweverItIsChosen)
{
    const QString fileName = QFileInfo(app).fileName();
    for (const QString& typed : {app, u"~/"_s + fileName, fileName + u'/'}) {
        SCOPED_TRACE(typed.toStdString());
        ASSERT_NO_FATAL_FAILURE(browse());
        confirm(typed);
        expectChosen();
    }
    for (const bool twice : {false, true}) {
        SCOPED_TRACE(twice ? "pressed twice" : "marked");
        ASSERT_NO_FATAL_FAILURE(browse());
        ASSERT_NO_FATAL_FAILURE(mark(twice));
        if (!twice)
            user.click(u"&Open"_s);
        expectChosen();
    }
}

TEST_F(Choosing, AnImageIsSavedAsOneWhateverIsTyped)
{
    window.wizard().job().edit(
        [this](DMGConfig& edited) { edited.appURL = QUrl::fromLocalFile(app); });
    go(NavigationStep::build);
    user.click(u"Build DMG"_s);
    ASSERT_NE(dialog(), nullptr);
    name = dialog()->findChild<QWidget*>(u"fileNameEdit"_s);
    confirm(home.file(u"Tool 2.1"_s));
    EXPECT_TRUE(user.waitToSee(u"DMG Created Successfully!"_s)) << seen();
    EXPECT_EQ(job().outputURL, QUrl::fromLocalFile(home.file(u"Tool 2.1.dmg"_s)));
    EXPECT_TRUE(QFile::exists(home.file(u"Tool 2.1.dmg"_s)));
}

TEST_F(Choosing, NothingIsSaidOfAnApplicationRemovedWhileItIsInspected)
{
    user.drop(u"Application"_s, app);
    ASSERT_TRUE(user.waitToSee(u"Checking "_s)) << seen();
    EXPECT_TRUE(anyChildRuns());
    user.click(u"Clear Application"_s);
    const auto isTold = [&] { return user.sees(u"Checking "_s) || user.sees(u"Validation "_s); };
    EXPECT_FALSE(WindowUser::waitUntil([&] { return isTold() || !anyChildRuns(); }) && isTold());
    for (int check = 0; check < 3; ++check) // of which each has a process of its own
        EXPECT_TRUE(WindowUser::waitUntil([&] { return !anyChildRuns(); }));
    QCoreApplication::processEvents();
    EXPECT_FALSE(isTold()) << seen();
}
