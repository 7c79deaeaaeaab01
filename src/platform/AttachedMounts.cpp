#include "platform/AttachedMounts.h"

#ifdef __linux__

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QProcess>

#include <cerrno>
#include <sys/mount.h>

using namespace Qt::StringLiterals;

namespace {

/// "\040" stands for a blank (proc(5), "mountinfo").
QByteArray unescaped(const QByteArray& text)
{
    QByteArray plain;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const bool isEscape = text[at] == '\\' && at + 3 < text.size();
        plain += isEscape ? static_cast<char>(text.mid(at + 1, 3).toInt(nullptr, 8)) : text[at];
        at += isEscape ? 3 : 0;
    }
    return plain;
}

void unmount(const QByteArray& folder)
{
    if (::umount2(folder.constData(), MNT_DETACH | UMOUNT_NOFOLLOW) == 0 || errno != EPERM)
        return;
    QProcess::execute(u"/usr/bin/fusermount3"_s, {u"-uqz"_s, u"--"_s, QFile::decodeName(folder)});
}

} // namespace

void unmountVolumesBelow(const QString& folder)
{
    const QFileInfo place(folder);
    const QString parent = QFileInfo(place.path()).canonicalFilePath();
    if (parent.isEmpty())
        return;
    const QByteArray inside = QFile::encodeName(QDir(parent).filePath(place.fileName()) + u'/');
    QFile table(u"/proc/self/mountinfo"_s);
    if (!table.open(QIODevice::ReadOnly))
        return;
    const QList<QByteArray> lines = table.readAll().split('\n');
    for (const QByteArray& line : lines) {
        const QList<QByteArray> facts = line.split(' ');
        const qsizetype separator = facts.indexOf("-");
        if (facts.size() < 5 || facts.value(separator + 1) != "fuse.hfsplus")
            continue;
        const QByteArray mountPoint = unescaped(facts[4]);
        if (mountPoint.startsWith(inside))
            unmount(mountPoint);
    }
}

#else

void unmountVolumesBelow(const QString&) { }

#endif
