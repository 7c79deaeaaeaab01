#include "cli/ContentHash.h"

#include "platform/PlatformError.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>

using namespace Qt::StringLiterals;

namespace {

QByteArray hashOfFile(const QString& path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!file.open(QFile::ReadOnly) || !hash.addData(&file))
        throw PlatformError(PlatformError::Operation::read, path, file.errorString());
    return hash.result();
}

QByteArray targetOf(const QString& link)
{
    std::error_code failure;
    const auto target =
        std::filesystem::read_symlink(QFile::encodeName(link).toStdString(), failure);
    return QByteArray::fromStdString(target.native());
}

/// A field is told from the next by its length.
void add(QCryptographicHash& hash, const QByteArray& field)
{
    hash.addData(QByteArray::number(field.size()) + ' ' + field);
}

void addFolder(QCryptographicHash& hash, const QString& folder)
{
    QStringList names = QDir(folder).entryList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::NoSort);
    std::ranges::sort(names);
    for (const QString& name : names) {
        const QFileInfo entry(folder + u'/' + name);
        add(hash, name.toUtf8());
        if (entry.isSymLink()) {
            add(hash, "link");
            add(hash, targetOf(entry.filePath()));
        } else if (entry.isDir()) {
            add(hash, "folder");
            addFolder(hash, entry.filePath());
            add(hash, "end");
        } else {
            add(hash, entry.isExecutable() ? "program" : "file");
            add(hash, hashOfFile(entry.filePath()));
        }
    }
}

} // namespace

QString contentHash(const QString& path)
{
    const QFileInfo subject(path);
    if (!subject.exists())
        return {};
    if (!subject.isDir())
        return QString::fromLatin1(hashOfFile(path).toHex());
    QCryptographicHash hash(QCryptographicHash::Sha256);
    addFolder(hash, path);
    return QString::fromLatin1(hash.result().toHex());
}
