#include "platform/Thumbnails.h"

#include "platform/AtomicFile.h"
#include "platform/IcnsFile.h"
#include "platform/PlatformError.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {

struct Size {
    const char* folder;
    int pixels;
};

constexpr Size sizes[] = {{"normal", 128}, {"large", 256}};

/// The address as file browsers write it: they look the picture up by a hash of this text, so
/// that the same characters must stand escaped.
QByteArray addressOf(const QString& path)
{
    const QByteArray bytes = QFile::encodeName(QDir::cleanPath(QFileInfo(path).absoluteFilePath()));
    return "file://" + bytes.toPercentEncoding("!$&'()*+,:=@/");
}

QByteArray pictureFor(const QString& path, const QByteArray& icns, int pixels)
{
    QImage image = IcnsFile::image(icns, pixels);
    if (image.isNull())
        return {};
    if (image.width() > pixels || image.height() > pixels)
        image = image.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    const QFileInfo file(path);
    image.setText(u"Thumb::URI"_s, QString::fromLatin1(addressOf(path)));
    image.setText(u"Thumb::MTime"_s, QString::number(file.lastModified().toSecsSinceEpoch()));
    image.setText(u"Thumb::Size"_s, QString::number(file.size()));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

} // namespace

bool Thumbnails::write(const QString& path, const QByteArray& icns)
{
    const QString cache =
        QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + u"/thumbnails"_s;
    if (!QFileInfo(cache).isDir())
        return false;
    bool written = false;
    for (const Size& size : sizes) {
        const QByteArray picture = pictureFor(path, icns, size.pixels);
        const QString folder = cache + u'/' + QLatin1String(size.folder);
        if (picture.isEmpty())
            continue;
        if (QDir().mkdir(folder))
            QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        try {
            AtomicFile::write(folder + u'/' + fileName(path), picture, 0600);
            written = true;
        } catch (const PlatformError&) {
            // The file is whole without its picture.
        }
    }
    return written;
}

QString Thumbnails::fileName(const QString& path)
{
    const QByteArray hash = QCryptographicHash::hash(addressOf(path), QCryptographicHash::Md5);
    return QString::fromLatin1(hash.toHex()) + u".png"_s;
}
