#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

/// A folder that goes with the test.
class Scratch {
public:
    QString path(const QString& relative = {}) const { return m_folder.filePath(relative); }
    QByteArray encoded(const QString& relative) const { return QFile::encodeName(path(relative)); }

    /// Writes a file and the folders on the way; gives its path.
    QString write(const QString& relative, const QByteArray& bytes) const
    {
        QString file = path(relative);
        QDir().mkpath(QFileInfo(file).path());
        QFile out(file);
        if (!out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size())
            qFatal("can't write a test's file");
        return file;
    }

    /// Writes a shell script that stands for the tool `macPath`.
    void writeTool(const QString& macPath, const QByteArray& text) const
    {
        const QString file = write(QStringLiteral("tools") + macPath, "#!/bin/sh\n" + text);
        QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    static QByteArray read(const QString& file)
    {
        QFile in(file);
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
    }

private:
    QTemporaryDir m_folder;
};
