#include "IconFile.h"

#include <QBuffer>
#include <QSaveFile>
#include <QtEndian>

#include <stdexcept>

namespace {

struct Element {
    const char* type;
    int edge; // pixels
};

constexpr Element elements[] = {{"ic11", 32}, {"ic12", 64}, {"ic07", 128}, {"ic13", 256},
    {"ic08", 256}, {"ic14", 512}, {"ic09", 512}, {"ic10", 1024}};

QByteArray bigEndian(qsizetype value)
{
    QByteArray out(4, '\0');
    qToBigEndian(static_cast<quint32>(value), out.data());
    return out;
}

QByteArray png(const QImage& image)
{
    QByteArray out;
    QBuffer buffer(&out);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        throw std::runtime_error("cannot encode a PNG");
    return out;
}

} // namespace

void writeIconFile(const QString& path, const std::function<QImage(int edge)>& draw)
{
    QByteArray body;
    for (const Element& element : elements) {
        const QByteArray data = png(draw(element.edge));
        body += element.type + bigEndian(data.size() + 8) + data;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)
        || file.write("icns" + bigEndian(body.size() + 8) + body) < 0 || !file.commit())
        throw std::runtime_error("cannot write " + path.toStdString());
}
