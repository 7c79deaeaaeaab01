#include "platform/ResourceFork.h"

#include "platform/Descriptor.h"

#include <QFile>
#include <QtEndian>

#include <fcntl.h>

#ifdef Q_OS_LINUX
#include <sys/xattr.h>
#endif

namespace {

constexpr qsizetype dataOffset = 256;

template <class Integer>
void append(QByteArray& out, Integer value)
{
    char bytes[sizeof(Integer)];
    qToBigEndian(value, bytes);
    out.append(bytes, sizeof bytes);
}

QByteArray forkHeader(quint32 dataLength, quint32 mapLength)
{
    QByteArray header;
    append<quint32>(header, dataOffset);
    append<quint32>(header, dataOffset + dataLength);
    append<quint32>(header, dataLength);
    append<quint32>(header, mapLength);
    return header;
}

#ifdef Q_OS_LINUX
constexpr const char* forkName = "user.com.apple.ResourceFork";
constexpr const char* finderInfoName = "user.com.apple.FinderInfo";

QByteArray attribute(int file, const char* name)
{
    QByteArray value(65536, '\0'); // the kernel's limit
    const ssize_t size = ::fgetxattr(file, name, value.data(), static_cast<size_t>(value.size()));
    return value.left(size < 0 ? 0 : size);
}

bool setAttribute(int file, const char* name, const QByteArray& value)
{
    return ::fsetxattr(file, name, value.constData(), static_cast<size_t>(value.size()), 0) == 0;
}
#endif

} // namespace

QByteArray ResourceFork::withIcon(const QByteArray& icns)
{
    constexpr quint32 mapLength = 50;
    const auto length = static_cast<quint32>(icns.size());
    const QByteArray header = forkHeader(4 + length, mapLength);
    QByteArray fork = header;
    fork.append(dataOffset - fork.size(), '\0');
    append<quint32>(fork, length);
    fork += icns;

    fork += header; // the map begins with a copy
    append<quint32>(fork, 0); // next map
    append<quint16>(fork, 0); // file reference
    append<quint16>(fork, 0); // attributes
    append<quint16>(fork, 28); // type list, from the map's start
    append<quint16>(fork, mapLength); // name list: none
    append<quint16>(fork, 0); // one type
    fork += "icns";
    append<quint16>(fork, 0); // one resource of it
    append<quint16>(fork, 10); // its reference, from the type list's start
    append<qint16>(fork, -16455);
    append<quint16>(fork, 0xffff); // no name
    append<quint32>(fork, 0); // attributes, and 24 bits of offset into the data
    append<quint32>(fork, 0);
    return fork;
}

QByteArray ResourceFork::markedFinderInfo(QByteArray finderInfo)
{
    constexpr qsizetype flagsOffset = 8;
    constexpr char customIcon = 0x04; // of the flags' upper byte
    finderInfo.resize(32, '\0');
    finderInfo[flagsOffset] = static_cast<char>(finderInfo.at(flagsOffset) | customIcon);
    return finderInfo;
}

bool ResourceFork::setIcon(const QString& path, const QByteArray& icns)
{
#ifdef Q_OS_LINUX
    const Descriptor file(::open(
        QFile::encodeName(path).constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file)
        return false;
    const QByteArray earlierFork = attribute(file.get(), forkName);
    if (!setAttribute(file.get(), forkName, withIcon(icns)))
        return false;
    const QByteArray finderInfo = markedFinderInfo(attribute(file.get(), finderInfoName));
    if (setAttribute(file.get(), finderInfoName, finderInfo))
        return true;
    if (earlierFork.isEmpty() || !setAttribute(file.get(), forkName, earlierFork))
        ::fremovexattr(file.get(), forkName);
    return false;
#else
    Q_UNUSED(path);
    Q_UNUSED(icns);
    return false;
#endif
}
