#include "platform/HostIconService.h"

#include "platform/ApplicationResources.h"
#include "platform/AtomicFile.h"
#include "platform/BundleInfo.h"
#include "platform/IcnsFile.h"
#include "platform/PlatformError.h"
#include "platform/ResourceFork.h"
#include "platform/Thumbnails.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// The icon in a file that is either the Mac's container or any picture that Qt reads.
std::optional<Icon> iconIn(const QString& path)
{
    constexpr qint64 largest = 64 << 20;
    QFile file(path);
    if (!QFileInfo(path).isFile() || file.size() > largest || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray bytes = file.readAll();
    if (IcnsFile::elements(bytes))
        return Icon{bytes};
    QBuffer buffer;
    buffer.setData(bytes);
    const QByteArray icns = IcnsFile::fromImage(QImageReader(&buffer).read());
    if (icns.isEmpty())
        return std::nullopt;
    return Icon{icns};
}

/// A name in an information dictionary is no way out of the bundle.
bool isPlainName(const QString& name)
{
    return !name.isEmpty() && name != "."_L1 && name != ".."_L1 && !name.contains(u'/');
}

/// The names that the bundle's icon may have in its resources, the likeliest first.
QStringList iconNames(const QString& bundlePath, const QDir& resources)
{
    QStringList names;
    if (const std::optional<BundleInfo> info = BundleInfo::read(bundlePath)) {
        if (const QString name = info->string(u"CFBundleIconFile"_s).value_or(QString());
            isPlainName(name)) {
            if (!QFileInfo(name).suffix().isEmpty())
                names << name;
            names << name + u".icns"_s; // "My.App" has a dot and no extension
        }
        if (const QString name = info->string(u"CFBundleIconName"_s).value_or(QString());
            isPlainName(name))
            names << name + u".icns"_s;
    }
    names << u"AppIcon.icns"_s << u"app.icns"_s;
    const QStringList present = resources.entryList({u"*.icns"_s}, QDir::Files);
    if (present.size() == 1)
        names << present;
    return names;
}

bool isVolumeRoot(const QString& macPath)
{
    constexpr QLatin1String volumes("/Volumes/");
    return macPath.startsWith(volumes) && isPlainName(macPath.sliced(volumes.size()));
}

bool setVolumeIcon(const Icon& icon, const QString& folder)
{
    try {
        AtomicFile::write(folder + u"/.VolumeIcon.icns"_s, icon.icns, 0644);
        return true;
    } catch (const PlatformError&) {
        return false;
    }
}

} // namespace

HostIconService::HostIconService(SystemRoot root)
    : m_root(std::move(root))
{ }

std::optional<Icon> HostIconService::resource(const QString& name)
{
    const std::optional<QString> path = ApplicationResources::path(name, u"icns"_s);
    return path ? iconIn(*path) : std::nullopt;
}

std::optional<Icon> HostIconService::forFile(const QString& macPath)
{
    const QString path = m_root.hostPath(macPath);
    const QDir resources(path + u"/Contents/Resources"_s);
    for (const QString& name : iconNames(path, resources)) {
        if (std::optional<Icon> icon = iconIn(resources.filePath(name)))
            return icon;
    }
    if (!QFileInfo(path + u"/Contents"_s).isDir())
        return std::nullopt;
    return resource(u"GenericApplicationIcon"_s);
}

bool HostIconService::setCustomIcon(const Icon& icon, const QString& macPath)
{
    QString path = macPath;
    while (path.endsWith(u'/'))
        path.chop(1);
    if (!IcnsFile::elements(icon.icns))
        return false;
    if (isVolumeRoot(path))
        return setVolumeIcon(icon, m_root.hostPath(path));
    const QString file = m_root.hostPath(path);
    if (!QFileInfo(file).isFile())
        return false;
    const bool forMac = ResourceFork::setIcon(file, icon.icns);
    const bool forDesktop = Thumbnails::write(file, icon.icns);
    return forMac || forDesktop;
}
