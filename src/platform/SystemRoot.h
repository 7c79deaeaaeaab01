#pragma once

#include <QProcessEnvironment>
#include <QString>

/// Answers one question: where is the Mac's path P on this host? On a Mac, P itself. Elsewhere a
/// tool's path leads into the toolbox folder and `/Volumes/...` into a per-user state folder.
///
/// Texts, logs and argument lists keep the Mac's own paths. Only what starts a child process and
/// what touches files itself maps them, at that moment.
class SystemRoot {
public:
    /// The product's own: the toolbox installed or built beside the running program, and the
    /// user's state folder below `$XDG_DATA_HOME`. Needs a QCoreApplication.
    static SystemRoot host();
    /// The same tools with a state folder, and so with a `/Volumes`, of its own.
    static SystemRoot session(const QString& stateFolder);
    /// This one's tools with another state folder.
    SystemRoot withState(const QString& stateFolder) const { return {m_toolsFolder, stateFolder}; }
    /// Any folder laid out as a Mac lays out its tools. Both paths are absolute.
    SystemRoot(QString toolsFolder, QString stateFolder);

    /// Where the tool `macPath` ("/usr/bin/hdiutil") is here, whether it exists or not.
    QString toolPath(const QString& macPath) const;
    /// Where a file is here: only "/Volumes" and what lies below it moves.
    QString hostPath(const QString& macPath) const;
    /// This process's environment and `VANDOR_STATE`, by which the tools find the state folder.
    QProcessEnvironment childEnvironment() const;
    QString stateFolder() const { return m_stateFolder; }

private:
    QString m_toolsFolder;
    QString m_stateFolder;
};
