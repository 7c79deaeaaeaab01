#include "Presets.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace {

constexpr int width = 600; // points
constexpr int height = 400;
constexpr int scale = 2;
constexpr int dotsPerMetre = 5669; // 144 DPI
constexpr double pi = std::numbers::pi;

void fillVertically(QPainter& painter, const QColor& top, const QColor& bottom)
{
    QLinearGradient gradient(0, 0, 0, height);
    gradient.setColorAt(0, top);
    gradient.setColorAt(1, bottom);
    painter.fillRect(0, 0, width, height, gradient);
}

QColor withAlpha(QColor colour, double alpha)
{
    colour.setAlphaF(static_cast<float>(alpha));
    return colour;
}

void drawGlow(QPainter& painter, QPointF centre, double radius, const QColor& colour, double alpha)
{
    QRadialGradient gradient(centre, radius);
    for (int stop = 0; stop <= 8; ++stop) {
        const double at = stop / 8.0;
        const double fall = (1 + std::cos(pi * at)) / 2;
        gradient.setColorAt(at, withAlpha(colour, alpha * fall));
    }
    painter.fillRect(
        QRectF(centre.x() - radius, centre.y() - radius, 2 * radius, 2 * radius), gradient);
}

/// Rings of dust, tilted, around a light in the middle.
void drawAccretion(QPainter& painter)
{
    fillVertically(painter, QColor(0xfdfaf5), QColor(0xf3e9df));
    painter.translate(width / 2.0, height / 2.0 - 8);
    painter.rotate(-14);
    drawGlow(painter, {0, 0}, 340, QColor(0xffc98f), 0.30);
    painter.setBrush(Qt::NoBrush);
    constexpr int rings = 46;
    for (int ring = 0; ring < rings; ++ring) {
        const double share = ring / double(rings - 1);
        const double radius = 54 + 330 * std::pow(share, 1.25);
        const double swell = 0.5 + 0.5 * std::sin(ring * 1.9);
        QLinearGradient ink(-radius, 0, radius, 0);
        ink.setColorAt(0, withAlpha(QColor(0xd9773f), (0.05 + 0.20 * swell) * (1 - share)));
        ink.setColorAt(0.55, withAlpha(QColor(0xe8a86c), (0.05 + 0.14 * swell) * (1 - share)));
        ink.setColorAt(1, withAlpha(QColor(0x8a6fb8), (0.04 + 0.16 * swell) * (1 - share)));
        painter.setPen(QPen(QBrush(ink), 1.0 + 3.2 * swell));
        painter.drawEllipse(QPointF(0, 0), radius, radius * 0.36);
    }
    drawGlow(painter, {0, 0}, 70, QColor(0xfffaf0), 0.95);
}

/// One curtain: light that hangs from a wave and fades upwards.
void drawCurtain(QPainter& painter, double base, double phase, const QColor& colour)
{
    constexpr double step = 1.5;
    for (double x = 0; x < width; x += step) {
        const double t = x / width;
        const double foot = base + 34 * std::sin(2 * pi * t * 0.9 + phase)
            + 13 * std::sin(2 * pi * t * 2.3 + phase * 1.7);
        const double fold = 0.55 + 0.25 * std::sin(2 * pi * t * 3.1 + phase * 2.3)
            + 0.20 * std::sin(2 * pi * t * 7.7 + phase);
        const double reach = 190 + 40 * std::sin(2 * pi * t * 1.4 + phase);
        QLinearGradient light(0, foot, 0, foot - reach);
        light.setColorAt(0, withAlpha(colour, 0));
        light.setColorAt(0.10, withAlpha(colour, 0.30 * fold));
        light.setColorAt(0.40, withAlpha(colour, 0.17 * fold));
        light.setColorAt(1, withAlpha(colour, 0));
        painter.fillRect(QRectF(x, foot - reach, step, reach), light);
    }
}

void drawAurora(QPainter& painter)
{
    fillVertically(painter, QColor(0xf0f4fc), QColor(0xfafdfd));
    painter.setRenderHint(QPainter::Antialiasing, false); // columns that meet without seams
    drawCurtain(painter, 210, 0.4, QColor(0x8f7ff0));
    drawCurtain(painter, 280, 2.1, QColor(0x4fb8f0));
    drawCurtain(painter, 345, 4.0, QColor(0x38d6a6));
}

/// Hills of sand, the nearer the darker, each with the sun on its crest.
void drawDunes(QPainter& painter)
{
    fillVertically(painter, QColor(0xfcf9f4), QColor(0xfdf1e3));
    drawGlow(painter, {438, 92}, 150, QColor(0xffd9a0), 0.55);
    const std::array<QColor, 5> sand{
        QColor(0xf8e9d6), QColor(0xf5dfc6), QColor(0xf1d5b7), QColor(0xecc9a7), QColor(0xe6bd97)};
    for (size_t hill = 0; hill < sand.size(); ++hill) {
        const double at = static_cast<double>(hill);
        const double base = 214 + 44 * at;
        QPainterPath crest(QPointF(-10, height + 10));
        for (int x = -10; x <= width + 10; x += 4) {
            const double t = x / double(width);
            crest.lineTo(x,
                base + (26 - 2 * at) * std::sin(2 * pi * t * (0.62 + 0.13 * at) + 1.9 * at)
                    + 6 * std::sin(2 * pi * t * 1.9 + 3.1 * at));
        }
        crest.lineTo(width + 10, height + 10);
        crest.closeSubpath();
        QLinearGradient slope(0, base - 30, 0, base + 90);
        slope.setColorAt(0, sand[hill].lighter(104));
        slope.setColorAt(1, sand[hill]);
        painter.setPen(QPen(withAlpha(QColor(0xffffff), 0.6), 1.2));
        painter.setBrush(slope);
        painter.drawPath(crest);
    }
}

/// Lines of a field that leads from the application's place to the folder's.
void drawFlux(QPainter& painter)
{
    fillVertically(painter, QColor(0xfafbff), QColor(0xe9eefb));
    painter.setBrush(Qt::NoBrush);
    constexpr int lines = 33;
    for (int line = 0; line < lines; ++line) {
        const double side = 2.0 * line / (lines - 1) - 1; // from the top to the bottom
        const double lift = 330 * side * std::abs(side) + 60 * side;
        const double y = height / 2.0 + 46 * side;
        QPainterPath path(QPointF(-20, y - 8 * side));
        path.cubicTo(
            QPointF(110, y), QPointF(190, y + lift * 0.65), QPointF(width / 2.0, y + lift * 0.65));
        path.cubicTo(
            QPointF(410, y + lift * 0.65), QPointF(490, y), QPointF(width + 20, y - 8 * side));
        const double near = 1 - 0.72 * std::abs(side);
        QLinearGradient ink(0, 0, width, 0);
        ink.setColorAt(0, withAlpha(QColor(0x3aa7e8), 0));
        ink.setColorAt(0.25, withAlpha(QColor(0x3aa7e8), 0.34 * near));
        ink.setColorAt(0.75, withAlpha(QColor(0x7a66ea), 0.40 * near));
        ink.setColorAt(1, withAlpha(QColor(0x7a66ea), 0));
        painter.setPen(QPen(QBrush(ink), 1.3));
        painter.drawPath(path);
    }
}

/// A fixed value in [0, 1) for each point of a lattice.
double latticeValue(int x, int y)
{
    quint32 mix = static_cast<quint32>(x) * 0x8da6b343u ^ static_cast<quint32>(y) * 0xd8163841u;
    mix = (mix ^ (mix >> 13)) * 0x9e3779b1u;
    mix = (mix ^ (mix >> 15)) * 0x85ebca77u;
    return (mix ^ (mix >> 16)) / 4294967296.0;
}

double smoothNoise(double x, double y)
{
    const int column = static_cast<int>(std::floor(x));
    const int row = static_cast<int>(std::floor(y));
    const auto ease = [](double t) { return t * t * t * (t * (6 * t - 15) + 10); };
    const double across = ease(x - column);
    const double down = ease(y - row);
    return std::lerp(std::lerp(latticeValue(column, row), latticeValue(column + 1, row), across),
        std::lerp(latticeValue(column, row + 1), latticeValue(column + 1, row + 1), across), down);
}

/// Noise of five octaves, in [0, 1).
double cloudNoise(double x, double y)
{
    double sum = 0;
    double weight = 0.5;
    for (int octave = 0; octave < 5; ++octave) {
        sum += weight * smoothNoise(x, y);
        x = 2.03 * x + 17.1;
        y = 2.03 * y + 9.7;
        weight /= 2;
    }
    return sum;
}

/// `amount` of the way from one colour to the other, each in [0, 255].
std::array<double, 3> towards(
    const std::array<double, 3>& from, const std::array<double, 3>& to, double amount)
{
    const double share = std::clamp(amount, 0.0, 1.0);
    return {std::lerp(from[0], to[0], share), std::lerp(from[1], to[1], share),
        std::lerp(from[2], to[2], share)};
}

/// Clouds whose own noise bends them.
QImage nebulaClouds()
{
    QImage image(width * scale, height * scale, QImage::Format_RGB32);
    for (int row = 0; row < image.height(); ++row) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(row));
        for (int column = 0; column < image.width(); ++column) {
            const double x = 2.6 * column / image.width();
            const double y = 1.75 * row / image.height();
            const double bendX = cloudNoise(x + 3.1, y + 1.7);
            const double bendY = cloudNoise(x + 8.4, y + 5.2);
            const double cloud = cloudNoise(x + 1.8 * bendX, y + 1.8 * bendY);
            std::array<double, 3> colour{250, 249, 253};
            colour = towards(colour, {203, 213, 246}, 2.2 * (cloud - 0.30));
            colour = towards(colour, {240, 205, 226}, 1.9 * (bendX - 0.44));
            colour = towards(colour, {255, 251, 250}, 2.4 * (bendY - 0.52));
            line[column] = qRgb(static_cast<int>(colour[0]), static_cast<int>(colour[1]),
                static_cast<int>(colour[2]));
        }
    }
    return image;
}

void drawNebula(QPainter& painter)
{
    painter.drawImage(QRect(0, 0, width, height), nebulaClouds());
    painter.setPen(Qt::NoPen);
    for (int star = 0; star < 70; ++star) {
        const QPointF place(width * latticeValue(star, 101), height * latticeValue(star, 202));
        const double size = 0.5 + 1.1 * std::pow(latticeValue(star, 303), 3);
        painter.setBrush(withAlpha(QColor(0xffffff), 0.9));
        painter.drawEllipse(place, size, size);
    }
}

/// A grid of dots that swell along a slanted wave.
void drawHalftone(QPainter& painter)
{
    fillVertically(painter, QColor(0xf8faf9), QColor(0xe8f0ee));
    painter.setPen(Qt::NoPen);
    constexpr int pitch = 12;
    for (int y = pitch / 2; y < height; y += pitch) {
        for (int x = pitch / 2; x < width; x += pitch) {
            const double slant = (x + 1.3 * y) / 135.0;
            const double wave = 0.5 + 0.5 * std::sin(slant + 0.8 * std::sin(x / 130.0));
            const double share = x / double(width);
            const QColor ink = QColor::fromRgbF(static_cast<float>(std::lerp(0.10, 0.22, share)),
                static_cast<float>(std::lerp(0.62, 0.52, share)),
                static_cast<float>(std::lerp(0.60, 0.80, share)));
            const double size = 0.7 + 2.9 * wave * wave;
            painter.setBrush(withAlpha(ink, 0.10 + 0.16 * wave));
            painter.drawEllipse(QPointF(x, y), size, size);
        }
    }
}

struct Preset {
    const char* name;
    void (*draw)(QPainter&);
};

constexpr Preset presets[] = {{"Accretion", drawAccretion}, {"Aurora", drawAurora},
    {"Dunes", drawDunes}, {"Flux", drawFlux}, {"Halftone", drawHalftone}, {"Nebula", drawNebula}};

} // namespace

QStringList Presets::names()
{
    QStringList all;
    for (const Preset& preset : presets)
        all.append(preset.name);
    return all;
}

QImage Presets::picture(const QString& name)
{
    const auto* const preset =
        std::ranges::find_if(presets, [&](const Preset& each) { return name == each.name; });
    if (preset == std::end(presets))
        return {};
    QImage image(width * scale, height * scale, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.scale(scale, scale);
    preset->draw(painter);
    painter.end();
    image.setDotsPerMeterX(dotsPerMetre);
    image.setDotsPerMeterY(dotsPerMetre);
    return image;
}
