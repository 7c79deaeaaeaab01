#pragma once

#include "platform/SystemRoot.h"

#include <QStringList>

/// The Mac's tools as small shell scripts in a folder, each recording its arguments and giving a
/// plausible answer, unless it was told another.
class ScriptedTools {
public:
    /// Makes the tools below `folder`/`toolsName` and keeps records and answers in `folder`.
    ScriptedTools(QString folder, const QString& toolsName);

    const QString& path() const { return m_tools; }
    /// Replaces the answer of `tool`, or of its calls with the first argument `verb`, by a shell
    /// text. It finds the tool's arguments in $1, $2, ..., the last also in $last, and the folder
    /// for records in $records.
    void script(const QString& tool, const QString& verb, const QString& text) const;
    void remove(const QString& macPath) const;
    /// "PROGRAM ARGUMENT ARGUMENT" a call, in order. Random names in paths are written {ID}, and
    /// the folder's own path is left out.
    QStringList calls() const;

private:
    QString m_folder;
    QString m_tools;
};

/// Small files for tests; folders on the way are made.
void writeFile(const QString& path, const QByteArray& content);
/// Empty for a file that isn't there.
QByteArray readFile(const QString& path);
