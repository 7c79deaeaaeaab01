#include "wizard/AssetThumbnail.h"

#include "platform/PictureLoader.h"
#include "views/Buttons.h"
#include "views/Theme.h"

#include <QPainter>
#include <QPainterPath>
#include <QTextDocument>

using namespace Qt::StringLiterals;

namespace {

constexpr QRectF picturePlace(0, 2, 132, 88);
constexpr QSize whole(132, 118);
constexpr QRect removalPlace(102, 4, 28, 28);

/// The largest piece out of the picture's middle that has the place's shape.
QRectF pieceFor(const QSizeF& picture, const QSizeF& place)
{
    const QSizeF size = place.scaled(picture, Qt::KeepAspectRatio);
    return {QPointF((picture.width() - size.width()) / 2, (picture.height() - size.height()) / 2),
        size};
}

} // namespace

AssetThumbnail::AssetThumbnail(const QUrl& url, bool isRemovable, QWidget* parent)
    : QAbstractButton(parent)
    , m_url(url)
    , m_isRemovable(isRemovable)
{
    setFixedSize(whole);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setToolTip(Qt::convertFromPlainText(url.fileName()));
    setAccessibleName(url.fileName());
    constexpr int sharpest = 3; // pixels a point
    PictureLoader::load(
        url, picturePlace.size().toSize() * sharpest, this, [this](const QImage& picture) {
            m_source = picture;
            m_picture = {};
            update();
        });
    if (isRemovable) {
        auto* remove = new SymbolButton(u"xmark.circle.fill"_s, u"Remove"_s, this);
        remove->setAccessibleName(u"Remove "_s + url.fileName());
        remove->setGeometry(removalPlace);
        connect(remove, &QPushButton::clicked, this, &AssetThumbnail::removalAsked);
    }
}

void AssetThumbnail::setSelected(bool selected)
{
    m_isSelected = selected;
    setAccessibleDescription(selected ? u"selected"_s : QString());
    update();
}

QSize AssetThumbnail::sizeHint() const
{
    return whole;
}

/// The picture at the screen's own resolution. Averaged once: drawn smaller at each paint, fine
/// lines would run together into patterns.
const QPixmap& AssetThumbnail::picture()
{
    const double scale = devicePixelRatioF();
    if (m_picture.isNull() || m_picture.devicePixelRatio() != scale) {
        const QSize pixels = (picturePlace.size() * scale).toSize();
        QRect piece = pieceFor(m_source.size(), picturePlace.size()).toRect();
        piece.setSize(piece.size().expandedTo({1, 1}));
        m_picture = QPixmap::fromImage(
            m_source.copy(piece).scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        m_picture.setDevicePixelRatio(scale);
    }
    return m_picture;
}

void AssetThumbnail::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    QPainterPath outline;
    outline.addRoundedRect(picturePlace, Theme::Radius::control, Theme::Radius::control);
    painter.fillPath(outline, Theme::Colour::field);
    if (!m_source.isNull()) {
        painter.save();
        painter.setClipPath(outline);
        painter.drawPixmap(picturePlace.topLeft(), picture());
        painter.restore();
    }
    if (m_isRemovable) { // the symbol is light, and so may be the picture
        constexpr double radius = 10;
        painter.setPen(Qt::NoPen);
        painter.setBrush(Theme::Colour::window);
        painter.drawEllipse(QRectF(removalPlace).center(), radius, radius);
    }
    painter.setBrush(Qt::NoBrush);
    if (m_isSelected || hasFocus()) {
        constexpr double line = 3;
        const double inset = line / 2;
        painter.setPen(
            QPen(m_isSelected ? Theme::Colour::accentInk : Theme::Colour::secondary, line));
        painter.drawRoundedRect(picturePlace.adjusted(inset, inset, -inset, -inset),
            Theme::Radius::control - inset, Theme::Radius::control - inset);
    } else if (underMouse()) {
        painter.setPen(QPen(Theme::Colour::secondary, 1));
        painter.drawPath(outline);
    }

    painter.setFont(Theme::font(Theme::Type::caption));
    painter.setPen(m_isSelected ? Theme::Colour::text : Theme::Colour::secondary);
    const QRectF name(picturePlace.left(), picturePlace.bottom() + 6, picturePlace.width(), 18);
    painter.drawText(name, Qt::AlignHCenter | Qt::AlignTop,
        painter.fontMetrics().elidedText(
            m_url.fileName(), Qt::ElideMiddle, static_cast<int>(name.width())));
}
