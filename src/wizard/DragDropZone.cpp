#include "wizard/DragDropZone.h"

#include "platform/FileIcons.h"
#include "platform/MainQueue.h"
#include "platform/Pasteboard.h"
#include "platform/Paths.h"
#include "platform/PictureLoader.h"
#include "views/Buttons.h"
#include "views/FileDrop.h"
#include "views/FilePicker.h"
#include "views/Labels.h"
#include "views/Symbol.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QStackedLayout>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int pictureEdge = 64;

/// With a light edge, as a print has, so that dark pictures stand out, too.
QImage framed(const QImage& picture)
{
    QImage print = picture.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const double line = qMax(1, print.width() / 40);
    QPainter painter(&print);
    painter.setPen(QPen(Qt::white, line, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    const double inset = line / 2;
    painter.drawRect(QRectF(print.rect()).adjusted(inset, inset, -inset, -inset));
    return print;
}

} // namespace

DragDropZone::DragDropZone(Kind kind, FileIcons& icons, QWidget* parent)
    : QFrame(parent)
    , m_kind(std::move(kind))
    , m_icons(icons)
    , m_pages(new QStackedLayout(this))
{
    setAcceptDrops(true);
    setAccessibleName(m_kind.title);
    setMinimumHeight(190);
    m_pages->addWidget(makeEmptyPage());
    m_pages->addWidget(makeFilledPage());
}

QWidget* DragDropZone::makeEmptyPage()
{
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(Theme::Space::small);
    layout->setAlignment(Qt::AlignCenter);
    layout->addWidget(
        new SymbolLabel(m_kind.icon, Theme::Colour::secondary, 44), 0, Qt::AlignHCenter);
    layout->addWidget(makeLabel(m_kind.title, Theme::Type::headline), 0, Qt::AlignHCenter);
    layout->addWidget(makeLabel(u"Drag & Drop or Click to Browse"_s, Theme::Type::caption,
                          Theme::Colour::secondary),
        0, Qt::AlignHCenter);
    QPushButton* button = makeButton(u"Browse..."_s);
    button->setAccessibleName(u"Browse for "_s + m_kind.title);
    connect(button, &QPushButton::clicked, this, &DragDropZone::browse);
    layout->addWidget(button, 0, Qt::AlignHCenter);
    return page;
}

QWidget* DragDropZone::makeFilledPage()
{
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(Theme::Space::small);
    layout->setAlignment(Qt::AlignCenter);
    m_picture = new QLabel;
    m_picture->setFixedSize(pictureEdge, pictureEdge);
    m_picture->setAlignment(Qt::AlignCenter);
    layout->addWidget(m_picture, 0, Qt::AlignHCenter);

    m_name = new ElidedLabel(Theme::Type::headline);
    m_name->setAlignment(Qt::AlignHCenter);
    layout->addWidget(m_name);

    auto* buttons = new QHBoxLayout;
    buttons->setAlignment(Qt::AlignHCenter);
    QPushButton* clear = makeButton(u"Clear"_s, ButtonKind::plain);
    Theme::style(*clear, Theme::Type::body, Theme::Colour::red);
    clear->setStyleSheet(u"color: %1"_s.arg(Theme::Colour::red.name()));
    clear->setAccessibleName(u"Clear "_s + m_kind.title);
    connect(clear, &QPushButton::clicked, this, [this] { emit fileChosen(std::nullopt); });
    buttons->addWidget(clear);
    auto* copy = new SymbolButton(u"doc.on.clipboard"_s, u"Copy Path"_s);
    connect(copy, &QPushButton::clicked, this, [this] {
        if (m_fileURL)
            Pasteboard::copy(pathOf(*m_fileURL));
    });
    buttons->addWidget(copy);
    layout->addLayout(buttons);
    return page;
}

bool DragDropZone::accepts(const QStringList& allowedExtensions, const QUrl& location)
{
    const QFileInfo file(pathOf(location));
    if (allowedExtensions.contains(u"*"_s))
        return true;
    return !file.completeBaseName().isEmpty() // ".png" is a name
        && allowedExtensions.contains(file.suffix().toLower());
}

void DragDropZone::setFileURL(const std::optional<QUrl>& location)
{
    m_fileURL = location;
    m_pages->setCurrentIndex(location ? 1 : 0);
    if (location) {
        showPicture(*location);
        m_name->setFullText(QFileInfo(pathOf(*location)).fileName());
    }
    update();
}

/// The file's icon, and in its place, as in a file browser, the picture in small once it is read.
void DragDropZone::showPicture(const QUrl& location)
{
    const double ratio = devicePixelRatioF();
    const int pixels = qRound(pictureEdge * ratio);
    const auto show = [label = m_picture, ratio](const QImage& image) {
        QPixmap picture = QPixmap::fromImage(image);
        picture.setDevicePixelRatio(ratio);
        label->setPixmap(picture);
    };
    show(m_icons.picture(pathOf(location), pixels));
    if (m_kind.takesBundles)
        return;
    PictureLoader::load(
        location, QSize(pixels, pixels), this, [this, location, show](const QImage& image) {
            if (!image.isNull() && m_fileURL == location)
                show(framed(image));
        });
}

void DragDropZone::browse()
{
    const QString title = u"Choose "_s + m_kind.title;
    const auto receive = [this](const QUrl& location) { offer(location); };
    if (m_kind.takesBundles)
        FilePicker::openFileOrBundle(this, title, receive);
    else
        FilePicker::openFile(this, title, receive);
}

void DragDropZone::offer(const QUrl& location)
{
    MainQueue::post([self = QPointer(this), location] {
        if (self && accepts(self->m_kind.allowedExtensions, location))
            emit self->fileChosen(QUrl::fromLocalFile(pathOf(location)));
    });
}

void DragDropZone::setTargeted(bool targeted)
{
    m_isTargeted = targeted;
    update();
}

void DragDropZone::dragEnterEvent(QDragEnterEvent* event)
{
    if (FileDrop::filesIn(*event->mimeData()).isEmpty())
        return;
    FileDrop::takeCopy(*event);
    setTargeted(true);
}

void DragDropZone::dragLeaveEvent(QDragLeaveEvent*)
{
    setTargeted(false);
}

void DragDropZone::dropEvent(QDropEvent* event)
{
    setTargeted(false);
    const QList<QUrl> dropped = FileDrop::filesIn(*event->mimeData());
    if (dropped.isEmpty())
        return;
    FileDrop::takeCopy(*event);
    offer(dropped.first());
}

void DragDropZone::mouseReleaseEvent(QMouseEvent* event)
{
    if (!m_fileURL && event->button() == Qt::LeftButton && rect().contains(event->pos()))
        browse();
}

void DragDropZone::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPen pen(m_isTargeted ? Theme::Colour::accentInk : Theme::Colour::outline, 2);
    if (!m_fileURL && !m_isTargeted) {
        constexpr double dash = 10; // points; the pattern counts in widths of the pen
        pen.setDashPattern({dash / pen.widthF(), dash / pen.widthF()});
    }
    painter.setPen(pen);
    painter.setBrush(m_isTargeted ? Theme::Colour::raised : Theme::Colour::card);
    painter.drawRoundedRect(
        QRectF(rect()).adjusted(1, 1, -1, -1), Theme::Radius::card, Theme::Radius::card);
}
