#include "views/Toggle.h"

#include "views/Theme.h"

#include <QPainter>

Toggle::Toggle(const QString& name, QWidget* parent)
    : QAbstractButton(parent)
{
    setCheckable(true);
    setAccessibleName(name);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(this, &QAbstractButton::toggled, this, &Toggle::glide);
    connect(&m_glide, &QVariantAnimation::valueChanged, this, [this](const QVariant& place) {
        m_place = place.toDouble();
        update();
    });
}

QSize Toggle::sizeHint() const
{
    return {44, 28};
}

void Toggle::glide(bool on)
{
    m_glide.stop();
    if (!isVisible() || Theme::motion(*this) == 0) {
        m_place = on ? 1 : 0;
        update();
        return;
    }
    constexpr int duration = 140; // milliseconds
    m_glide.setDuration(duration);
    m_glide.setStartValue(m_place);
    m_glide.setEndValue(on ? 1.0 : 0.0);
    m_glide.start();
}

void Toggle::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF track = QRectF(rect()).adjusted(1, 3, -1, -3);
    const double radius = track.height() / 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(isChecked() ? Theme::Colour::accent : Theme::Colour::border);
    painter.drawRoundedRect(track, radius, radius);
    const double knob = track.height() - 4;
    painter.setBrush(isEnabled() ? Theme::Colour::text : Theme::Colour::secondary);
    painter.drawEllipse(QRectF(
        track.left() + 2 + m_place * (track.width() - knob - 4), track.top() + 2, knob, knob));
    if (hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(isChecked() ? Theme::Colour::text : Theme::Colour::accentInk, 2));
        painter.drawRoundedRect(track, radius, radius);
    }
}
