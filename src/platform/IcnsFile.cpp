#include "platform/IcnsFile.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>
#include <QtEndian>

#include <algorithm>

namespace {

constexpr qsizetype headerSize = 8; // of the file as of an element: type, length with the header
constexpr int largestSide = 1024;

struct Size {
    const char* type;
    int pixels;
};

/// The types that every system since 10.7 reads from PNG.
constexpr Size writtenSizes[] = {
    {"ic11", 32},
    {"ic12", 64},
    {"ic07", 128},
    {"ic13", 256},
    {"ic08", 256},
    {"ic14", 512},
    {"ic09", 512},
    {"ic10", 1024},
};

quint32 wordAt(const QByteArray& bytes, qsizetype offset)
{
    return qFromBigEndian<quint32>(bytes.constData() + offset);
}

void appendElement(QByteArray& out, const char* type, const QByteArray& data)
{
    char length[4];
    qToBigEndian(static_cast<quint32>(headerSize + data.size()), length);
    out.append(type, 4).append(length, sizeof length).append(data);
}

/// Whether a picture `side` wide serves `wanted` better than one `other` wide.
bool servesBetter(int side, int other, int wanted)
{
    if (side >= wanted && other >= wanted)
        return side < other;
    return side > other;
}

QImage bestPNGElement(const std::vector<IcnsFile::Element>& elements, int pixels)
{
    int bestSide = 0;
    QImage best;
    for (const IcnsFile::Element& element : elements) {
        if (!element.data.startsWith("\x89PNG"))
            continue;
        QBuffer buffer;
        buffer.setData(element.data);
        QImageReader reader(&buffer, "png");
        const QSize size = reader.size();
        if (!size.isValid() || std::max(size.width(), size.height()) > 2 * largestSide
            || (bestSide > 0 && !servesBetter(size.width(), bestSide, pixels)))
            continue;
        if (QImage image = reader.read(); !image.isNull()) {
            best = image;
            bestSide = size.width();
        }
    }
    return best;
}

QImage bestOfPlugin(const QByteArray& icns, int pixels)
{
    QBuffer buffer;
    buffer.setData(icns);
    QImageReader reader(&buffer, "icns");
    QImage best;
    for (int index = 0; index < std::max(1, reader.imageCount()); ++index) {
        reader.jumpToImage(index);
        const QImage image = reader.read();
        if (!image.isNull() && (best.isNull() || servesBetter(image.width(), best.width(), pixels)))
            best = image;
    }
    return best;
}

QImage squared(const QImage& image, int side)
{
    QImage square(side, side, QImage::Format_ARGB32);
    square.fill(Qt::transparent);
    QPainter painter(&square);
    painter.drawImage((side - image.width()) / 2, (side - image.height()) / 2, image);
    return square;
}

QByteArray pngOf(const QImage& image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

} // namespace

std::optional<std::vector<IcnsFile::Element>> IcnsFile::elements(const QByteArray& icns)
{
    if (icns.size() < headerSize || !icns.startsWith("icns"))
        return std::nullopt;
    const auto end = static_cast<qsizetype>(wordAt(icns, 4));
    if (end > icns.size())
        return std::nullopt;
    std::vector<Element> elements;
    for (qsizetype offset = headerSize; offset < end;) {
        if (end - offset < headerSize)
            return std::nullopt;
        const auto length = static_cast<qsizetype>(wordAt(icns, offset + 4));
        if (length < headerSize || end - offset < length)
            return std::nullopt;
        elements.push_back(
            {icns.mid(offset, 4), icns.mid(offset + headerSize, length - headerSize)});
        offset += length;
    }
    if (elements.empty())
        return std::nullopt;
    return elements;
}

QImage IcnsFile::image(const QByteArray& icns, int pixels)
{
    const std::optional<std::vector<Element>> parts = elements(icns);
    if (!parts)
        return {};
    const QImage image = bestPNGElement(*parts, pixels);
    return image.isNull() ? bestOfPlugin(icns, pixels) : image;
}

QByteArray IcnsFile::fromImage(const QImage& image)
{
    if (image.isNull())
        return {};
    const int side = std::clamp(std::max(image.width(), image.height()), 32, largestSide);
    QByteArray parts;
    for (const Size& size : writtenSizes) {
        if (size.pixels > side)
            continue;
        const bool shrinks = std::max(image.width(), image.height()) > size.pixels;
        const QImage scaled = shrinks
            ? image.scaled(size.pixels, size.pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation)
            : image;
        appendElement(parts, size.type, pngOf(squared(scaled, size.pixels)));
    }
    QByteArray icns;
    appendElement(icns, "icns", parts);
    return icns;
}
