#include "platform/FileIcons.h"

#include "platform/IcnsFile.h"
#include "platform/Icons.h"

#include <QDateTime>
#include <QFileInfo>

using namespace Qt::StringLiterals;

FileIcons::FileIcons(IconService& icons)
    : m_icons(icons)
{ }

QImage FileIcons::picture(const QString& macPath, int pixels)
{
    if (pixels <= 0)
        return {};
    constexpr qsizetype mostKept = 16;
    const QString key =
        macPath + u'\n' + QString::number(QFileInfo(macPath).lastModified().toMSecsSinceEpoch());
    if (!m_kept.contains(key)) {
        if (m_kept.size() >= mostKept)
            m_kept.clear();
        m_kept.insert(key, {iconOf(macPath), {}});
    }
    Kept& kept = m_kept[key];
    if (!kept.sizes.contains(pixels)) {
        if (kept.sizes.size() >= mostKept)
            kept.sizes.clear();
        const QImage image = IcnsFile::image(kept.icns, pixels);
        kept.sizes.insert(pixels,
            image.isNull() || image.width() == pixels
                ? image
                : image.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    }
    return kept.sizes.value(pixels);
}

QByteArray FileIcons::iconOf(const QString& macPath)
{
    std::optional<Icon> icon = macPath == "/Applications"_L1
        ? m_icons.resource(u"ApplicationsFolderIcon"_s)
        : m_icons.forFile(macPath);
    if (!icon)
        icon = m_icons.resource(u"GenericDocumentIcon"_s);
    return icon ? icon->icns : QByteArray();
}
