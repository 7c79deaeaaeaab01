#include "notarization/ArchivePlace.h"

#include "platform/FileOperations.h"
#include "platform/Paths.h"

#include <QDir>
#include <QUuid>

#include <utility>

using namespace Qt::StringLiterals;

ArchivePlace::ArchivePlace(Taken taken, const QString& temporaryFolder, const QString& application)
    : m_taken(std::move(taken))
    , m_path(joinedPath(temporaryFolder, application + u".zip"_s))
{
    if (m_taken->contains(m_path)) {
        m_ownFolder =
            joinedPath(temporaryFolder, QUuid::createUuid().toString(QUuid::WithoutBraces));
        FileOperations::createFolder(m_ownFolder);
        m_path = joinedPath(m_ownFolder, application + u".zip"_s);
    }
    m_taken->insert(m_path);
}

ArchivePlace::~ArchivePlace()
{
    m_taken->remove(m_path);
    if (!m_ownFolder.isEmpty())
        QDir().rmdir(m_ownFolder);
}
