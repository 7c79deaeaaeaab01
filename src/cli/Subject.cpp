#include "cli/Subject.h"

#include "cli/UsageError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

QString Subject::kindName() const
{
    return isImage() ? u"image"_s : u"application"_s;
}

Subject subjectAt(const std::string& typed)
{
    const QString path =
        QDir::cleanPath(QDir::current().absoluteFilePath(QFile::decodeName(typed.c_str())));
    QFileInfo file(path);
    // What a link leads to is meant, under its own name.
    if (file.isSymLink())
        file.setFile(file.canonicalFilePath());
    if (!file.exists())
        throw UsageError(u"there is nothing at “%1”"_s.arg(path));
    const QUrl location = QUrl::fromLocalFile(file.filePath());
    if (file.isDir() && file.suffix() == "app"_L1)
        return {Subject::Kind::application, location};
    if (file.isFile() && file.suffix() == "dmg"_L1)
        return {Subject::Kind::image, location};
    throw UsageError(u"“%1” is neither an application, a folder whose name ends in .app, nor a "
                     u"disk image, a file whose name ends in .dmg"_s.arg(file.filePath()));
}

Subject applicationAt(const std::string& typed)
{
    Subject subject = subjectAt(typed);
    if (subject.isImage())
        throw UsageError(u"“%1” is not an application"_s.arg(subject.path()));
    return subject;
}

Subject imageAt(const std::string& typed)
{
    Subject subject = subjectAt(typed);
    if (!subject.isImage())
        throw UsageError(u"“%1” is not a disk image"_s.arg(subject.path()));
    return subject;
}
