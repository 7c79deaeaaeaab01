#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

/// A failure of the host: a file that can't be copied, a tool that can't be started.
class PlatformError : public std::exception {
public:
    enum class Operation { start, read, write, copy, createFolder, createLink, remove };

    /// `reason` completes "Could not copy “path”: " and ends without a full stop.
    PlatformError(Operation operation, QString path, QString reason);
    static PlatformError fromErrno(Operation operation, const QString& path, int error);

    /// One sentence for the user that names the file or the tool and says why.
    QString description() const;
    Operation operation() const { return m_operation; }
    QString path() const { return m_path; }
    /// The host's error number; 0 where the failure has none.
    int errorNumber() const { return m_errorNumber; }
    /// The description in UTF-8.
    const char* what() const noexcept override { return m_what.constData(); }

private:
    Operation m_operation;
    QString m_path;
    QString m_reason;
    int m_errorNumber = 0;
    QByteArray m_what;
};
