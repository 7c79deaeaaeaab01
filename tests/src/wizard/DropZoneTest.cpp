#include "wizard/DragDropZone.h"

#include "platform/FileIcons.h"
#include "platform/HostIconService.h"

#include <QApplication>
#include <QClipboard>
#include <QDropEvent>
#include <QMimeData>
#include <QPushButton>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class DropZone : public testing::Test {
public:
    DropZone()
    {
        QObject::connect(&zone, &DragDropZone::fileChosen, &zone,
            [this](const std::optional<QUrl>& location) { chosen.append(location); });
    }

    /// Whether the zone took the drop; what it holds comes with the next turn.
    bool drop(const QList<QUrl>& files)
    {
        QMimeData data;
        data.setUrls(files);
        QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&zone, &enter);
        EXPECT_EQ(zone.isTargeted(), !files.isEmpty() && files.first().isLocalFile());
        QDropEvent event(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        event.setAccepted(false);
        QApplication::sendEvent(&zone, &event);
        EXPECT_FALSE(zone.isTargeted());
        return event.isAccepted();
    }
    QPushButton* button(const QString& name)
    {
        for (QPushButton* each : zone.findChildren<QPushButton*>()) {
            if (each->accessibleName() == name)
                return each;
        }
        return nullptr;
    }

    HostIconService icons{SystemRoot(u"/nowhere"_s, u"/nowhere"_s)};
    FileIcons fileIcons{icons};
    DragDropZone zone{{u"Application"_s, u"app"_s, {u"app"_s}, true}, fileIcons};
    QList<std::optional<QUrl>> chosen;
};

} // namespace

TEST(DropZoneKind, ExtensionsDecideWhateverTheirCase)
{
    struct Row {
        const char* location;
        QStringList extensions;
        bool accepted;
    };
    const QStringList pictures{u"png"_s, u"jpg"_s, u"heic"_s};
    const Row rows[] = {
        {"file:///a/Tool.APP", {u"app"_s}, true},
        {"file:///a/Tool.app/", {u"app"_s}, true},
        {"file:///a/Tool.app.zip", {u"app"_s}, false},
        {"file:///a/app", {u"app"_s}, false},
        {"file:///a/scan.heic", pictures, true},
        {"file:///a/image.dmg", pictures, false},
        {"file:///a/folder", pictures, false},
        {"file:///a/.png", pictures, false},
        {"file:///a/anything", {u"*"_s}, true},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(DragDropZone::accepts(row.extensions, QUrl(QString::fromLatin1(row.location))),
            row.accepted)
            << row.location;
    }
}

TEST_F(DropZone, TakesTheFirstOfWhatIsDroppedOnALaterTurn)
{
    EXPECT_FALSE(drop({}));
    EXPECT_TRUE(drop({QUrl(u"file://localhost/a/It's%20%E2%80%9COne%E2%80%9D.app/"_s),
        QUrl(u"file:///a/Two.app"_s)}));
    EXPECT_TRUE(chosen.isEmpty());
    QCoreApplication::processEvents();
    ASSERT_EQ(chosen.size(), 1);
    EXPECT_EQ(chosen[0]->toLocalFile(), u"/a/It's “One”.app"_s);

    drop({QUrl(u"file:///a/image.dmg"_s), QUrl(u"file:///a/Two.app"_s)});
    EXPECT_FALSE(drop({QUrl(u"https://example.com/Three.app"_s), QUrl(u"file:///a/Two.app"_s)}));
    QCoreApplication::processEvents();
    EXPECT_EQ(chosen.size(), 1);
}

TEST_F(DropZone, CopiesTheBarePathAndCanBeCleared)
{
    zone.setFileURL(QUrl::fromLocalFile(u"/Users/a/My Pics/It's.app"_s));
    button(u"Copy Path"_s)->click();
    EXPECT_EQ(QApplication::clipboard()->text(), u"/Users/a/My Pics/It's.app"_s);
    button(u"Clear Application"_s)->click();
    ASSERT_EQ(chosen.size(), 1);
    EXPECT_EQ(chosen[0], std::nullopt);
}
