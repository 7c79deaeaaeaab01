#pragma once

#include <QString>
#include <QStringList>

/// Shell scripts in the place of some of the Mac's tools. Each records its arguments and then
/// answers as it was told to, or as if all was well.
class RecordingTools {
public:
    /// The answer to such a request, as a shell text.
    void answer(const QString& request, const QString& text) const;
    void remove(const QString& macPath) const;
    /// "TOOL <ARGUMENT> <ARGUMENT>" a call, in order.
    QStringList calls() const;

protected:
    /// Makes `macPaths` in the folder `toolbox`; keeps records and answers in `folder`. The shell
    /// text `requestOf` sets $request from $name and the arguments or exits, `usualAnswer` answers
    /// to it; both find the last argument in $last.
    RecordingTools(QString folder, QString toolbox, const QStringList& macPaths,
        const char* requestOf, const char* usualAnswer);

private:
    QString m_folder;
    QString m_toolbox;
};
