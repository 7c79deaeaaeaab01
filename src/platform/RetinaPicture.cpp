#include "platform/RetinaPicture.h"

#include "platform/PlatformError.h"

#include <QColorSpace>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>

#include <cerrno>
#include <memory>
#include <tiffio.h>

using namespace Qt::StringLiterals;

namespace {

constexpr double pointsPerInch = 72;
constexpr double inchesPerMetre = 100 / 2.54;

struct TiffCloser {
    void operator()(TIFF* file) const { TIFFClose(file); }
};
using TiffFile = std::unique_ptr<TIFF, TiffCloser>;

[[noreturn]] void refusePicture(
    PlatformError::Operation operation, const QString& path, const char* reason)
{
    throw PlatformError(operation, path, QCoreApplication::translate("RetinaPicture", reason));
}

QImage pictureAt(const QString& path)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    reader.setDecideFormatFromContent(true);
    return reader.read();
}

QImage requirePicture(const QString& path)
{
    const QImage picture = pictureAt(path);
    if (picture.isNull())
        refusePicture(PlatformError::Operation::read, path,
            QT_TRANSLATE_NOOP("RetinaPicture", "It is no picture that this program can read"));
    return picture.convertToFormat(
        picture.hasAlphaChannel() ? QImage::Format_RGBA8888 : QImage::Format_RGB888);
}

/// Qt has a value of its own for pictures that don't say theirs.
double densityOf(int dotsPerMetre)
{
    static const int unsaid = QImage(1, 1, QImage::Format_Mono).dotsPerMeterX();
    return dotsPerMetre <= 0 || dotsPerMetre == unsaid ? pointsPerInch
                                                       : dotsPerMetre / inchesPerMetre;
}

void describe(TIFF* file, const QImage& picture, float density)
{
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(picture.width()));
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(picture.height()));
    TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, picture.hasAlphaChannel() ? 4 : 3);
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(file, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(file, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(file, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(file, 0));
    TIFFSetField(file, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    TIFFSetField(file, TIFFTAG_XRESOLUTION, density);
    TIFFSetField(file, TIFFTAG_YRESOLUTION, density);
    if (picture.hasAlphaChannel()) {
        constexpr uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(file, TIFFTAG_EXTRASAMPLES, 1, &alpha);
    }
    const QByteArray profile = picture.colorSpace().iccProfile();
    if (!profile.isEmpty())
        TIFFSetField(
            file, TIFFTAG_ICCPROFILE, static_cast<uint32_t>(profile.size()), profile.constData());
}

bool writePicture(TIFF* file, QImage picture, float density)
{
    describe(file, picture, density);
    for (int row = 0; row < picture.height(); ++row) {
        if (TIFFWriteScanline(file, picture.scanLine(row), static_cast<uint32_t>(row)) != 1)
            return false;
    }
    return TIFFWriteDirectory(file) == 1;
}

} // namespace

std::optional<QString> RetinaPicture::doubleOf(const QString& path)
{
    const QFileInfo picture(path);
    const QString base = picture.completeBaseName();
    if (base.endsWith("@2x"_L1) || picture.suffix().isEmpty())
        return std::nullopt;
    const QFileInfo found(picture.path() + u'/' + base + u"@2x."_s + picture.suffix());
    if (!found.isFile())
        return std::nullopt;
    return found.filePath();
}

std::optional<QSize> RetinaPicture::sizeInPoints(const QString& path)
{
    const QImage picture = pictureAt(path);
    if (picture.isNull())
        return std::nullopt;
    return QSize(qRound(picture.width() * pointsPerInch / densityOf(picture.dotsPerMeterX())),
        qRound(picture.height() * pointsPerInch / densityOf(picture.dotsPerMeterY())));
}

void RetinaPicture::combine(const QString& path, const QString& path2x, const QString& output)
{
    const QImage single = requirePicture(path);
    const QImage twice = requirePicture(path2x);
    if (twice.size() != single.size() * 2)
        refusePicture(PlatformError::Operation::read, path2x,
            QT_TRANSLATE_NOOP("RetinaPicture", "It is not exactly twice as wide and high"));

    TIFFSetErrorHandler(nullptr); // it would speak on standard error; the caller has better words
    errno = 0;
    const TiffFile file(TIFFOpen(QFile::encodeName(output).constData(), "w"));
    const bool isWritten = file && writePicture(file.get(), single, pointsPerInch)
        && writePicture(file.get(), twice, 2 * pointsPerInch) && TIFFFlush(file.get()) == 1;
    if (!isWritten)
        throw PlatformError::fromErrno(
            PlatformError::Operation::write, output, errno != 0 ? errno : EIO);
}
