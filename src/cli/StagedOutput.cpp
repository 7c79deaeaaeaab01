#include "cli/StagedOutput.h"

#include "platform/PlatformError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUuid>

#include <cerrno>
#include <cstdio>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

StagedOutput::StagedOutput(const QString& target)
    : m_target(target)
    , m_folder(QFileInfo(target).path() + u"/.vandor-"_s
          + QUuid::createUuid().toString(QUuid::WithoutBraces))
{
    if (::mkdir(QFile::encodeName(m_folder).constData(), S_IRWXU) != 0)
        throw PlatformError::fromErrno(PlatformError::Operation::createFolder, m_folder, errno);
}

void StagedOutput::remove()
{
    QDir(m_folder).removeRecursively();
}

QString StagedOutput::path() const
{
    return m_folder + u'/' + QFileInfo(m_target).fileName();
}

void StagedOutput::place()
{
    const QByteArray from = QFile::encodeName(path());
    const QByteArray to = QFile::encodeName(m_target);
    if (std::rename(from.constData(), to.constData()) != 0)
        throw PlatformError::fromErrno(PlatformError::Operation::write, m_target, errno);
}

bool StagedOutput::isStagingFolder(const QString& path)
{
    static const QRegularExpression form(
        u"/\\.vandor-[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$"_s);
    return QDir::isAbsolutePath(path) && form.match(path).hasMatch();
}
