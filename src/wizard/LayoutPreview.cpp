#include "wizard/LayoutPreview.h"

#include "platform/FileIcons.h"
#include "platform/PictureLoader.h"
#include "views/Symbol.h"
#include "views/Theme.h"
#include "wizard/PreviewGeometry.h"

#include <QFileInfo>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr double cornerRadius = 12; // points of the image's window
constexpr int shadowRadius = 20;
constexpr int shadowAlpha = 84; // 33 % black
constexpr int mostRings = 24; // of a shadow; more are no smoother, and each is painted whole
/// Larger than any screen; keeps a poster from filling the memory.
constexpr QSize largestBackground(4096, 4096);

void paintShadow(QPainter& painter, const QRectF& window, double radius, double scale)
{
    // Rings that add up to the full shade at the window's edge.
    const double reach = shadowRadius * scale;
    const int rings = qBound(1, qRound(reach), mostRings);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, shadowAlpha / rings));
    for (int ring = rings; ring > 0; --ring) {
        const double out = reach * ring / rings;
        painter.drawRoundedRect(window.adjusted(-out, -out, out, out), radius + out, radius + out);
    }
}

QPointF between(const QPointF& from, const QPointF& to, double share)
{
    return from + (to - from) * share;
}

} // namespace

LayoutPreview::LayoutPreview(FileIcons& icons, QWidget* parent)
    : QWidget(parent)
    , m_icons(icons)
    , m_appPosition(m_job.appIconPosition)
    , m_linkPosition(m_job.appsSymlinkPosition)
{
    setAccessibleName(u"Preview"_s);
    setAccessibleDescription(u"The image's window as it will look"_s);
    m_glide.setStartValue(0.0);
    m_glide.setEndValue(1.0);
    m_glide.setEasingCurve(QEasingCurve::InOutQuad);
}

QSize LayoutPreview::sizeHint() const
{
    return {540, 400};
}

QSize LayoutPreview::minimumSizeHint() const
{
    return {240, 200};
}

void LayoutPreview::setConfig(const DMGConfig& job)
{
    const bool rearranged = job.layout != m_job.layout;
    const bool otherBackground = job.backgroundURL != m_job.backgroundURL;
    m_job = job;
    if (otherBackground)
        loadBackground();
    // What is typed shows at once: only a chosen arrangement glides.
    const bool isChosen = rearranged && job.layout != IconLayout::custom;
    if (isChosen && isVisible() && Theme::motion(*this) > 0) {
        glideFrom(m_appPosition, m_linkPosition);
    } else if (rearranged || m_glide.state() != QAbstractAnimation::Running) {
        m_glide.stop();
        m_appPosition = job.appIconPosition;
        m_linkPosition = job.appsSymlinkPosition;
    }
    update();
}

void LayoutPreview::glideFrom(const QPointF& app, const QPointF& link)
{
    m_glide.stop();
    m_glide.disconnect(this);
    m_glide.setDuration(Theme::motion(*this));
    connect(
        &m_glide, &QVariantAnimation::valueChanged, this, [this, app, link](const QVariant& at) {
            m_appPosition = between(app, m_job.appIconPosition, at.toDouble());
            m_linkPosition = between(link, m_job.appsSymlinkPosition, at.toDouble());
            update();
        });
    m_glide.start();
}

void LayoutPreview::loadBackground()
{
    m_background = {};
    m_scaledBackground = {};
    if (!m_job.backgroundURL)
        return;
    const QUrl location = *m_job.backgroundURL;
    PictureLoader::load(location, largestBackground, this, [this, location](const QImage& picture) {
        if (m_job.backgroundURL != location)
            return;
        m_background = picture;
        update();
    });
}

QSizeF LayoutPreview::windowSize() const
{
    return {static_cast<double>(m_job.windowWidth), static_cast<double>(m_job.windowHeight)};
}

LayoutPreview::Item LayoutPreview::appItem() const
{
    if (!m_job.appURL)
        return {{}, {}, m_appPosition};
    const QString path = m_job.appURL->toLocalFile();
    return {path, QFileInfo(path).completeBaseName(), m_appPosition};
}

LayoutPreview::Item LayoutPreview::linkItem() const
{
    return {u"/Applications"_s, u"Applications"_s, m_linkPosition};
}

void LayoutPreview::paintEvent(QPaintEvent*)
{
    const QRectF window = PreviewGeometry::windowIn(size(), windowSize());
    if (window.isEmpty())
        return;
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    paintWindow(painter, window);
}

void LayoutPreview::paintWindow(QPainter& painter, const QRectF& window)
{
    const double scale = PreviewGeometry::scaleFor(size(), windowSize());
    const double radius = cornerRadius * scale;
    paintShadow(painter, window, radius, scale);
    QPainterPath outline;
    outline.addRoundedRect(window, radius, radius);
    painter.fillPath(outline, Qt::white);

    painter.save();
    painter.setClipPath(outline);
    paintBackground(painter, window);
    painter.translate(window.topLeft());
    painter.scale(scale, scale);
    paintItem(painter, appItem(), scale);
    paintItem(painter, linkItem(), scale);
    painter.restore();
}

void LayoutPreview::paintBackground(QPainter& painter, const QRectF& window)
{
    if (m_background.isNull())
        return;
    const double ratio = devicePixelRatioF();
    const QSize pixels = (window.size() * ratio).toSize();
    if (m_scaledBackground.size() != pixels) {
        m_scaledBackground = QPixmap::fromImage(
            m_background.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    }
    painter.drawPixmap(window, m_scaledBackground, m_scaledBackground.rect());
}

void LayoutPreview::paintItem(QPainter& painter, const Item& item, double scale)
{
    const double iconSize = static_cast<double>(m_job.iconSize);
    QFont font = this->font();
    font.setPixelSize(qMax(1, static_cast<int>(m_job.fontSize)));
    const double labelHeight = QFontMetricsF(font).height();

    const QRectF box = PreviewGeometry::iconBox(item.position, iconSize);
    const QRectF place = PreviewGeometry::iconPicture(box, iconSize, labelHeight);
    const QPixmap picture = pictureOf(item, scale);
    painter.drawPixmap(place, picture, picture.rect());

    painter.setFont(font);
    painter.setPen(Qt::black); // as the Finder draws it over a picture
    const QRectF label(
        box.left(), place.bottom() + PreviewGeometry::labelGap, box.width(), labelHeight);
    painter.drawText(label, Qt::AlignHCenter | Qt::AlignTop | Qt::TextSingleLine,
        QFontMetricsF(font).elidedText(item.label, Qt::ElideMiddle, label.width()));
}

QPixmap LayoutPreview::pictureOf(const Item& item, double scale) const
{
    const double exact = static_cast<double>(m_job.iconSize) * scale * devicePixelRatioF();
    const int pixels = qBound(1, static_cast<int>(std::ceil(exact)), 1024);
    if (item.path.isEmpty())
        return Symbol::pixmap(u"app.fill"_s, Theme::Colour::accent, pixels, 1);
    return QPixmap::fromImage(m_icons.picture(item.path, pixels));
}
