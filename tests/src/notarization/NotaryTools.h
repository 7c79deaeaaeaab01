#pragma once

#include <QString>
#include <QStringList>

/// Scripts for `/usr/bin/xcrun`, `/usr/sbin/spctl` and `/usr/bin/ditto`. Each records its arguments
/// and then answers as it was told to, or as if all was well.
class NotaryTools {
public:
    /// Makes them in the folder `toolbox`; keeps records and answers in `folder`.
    NotaryTools(QString folder, QString toolbox);

    /// The answer, as a shell text, to "submit", "wait", "history", "store-credentials", "staple",
    /// "validate", "install", "open" or "archive"; to the second such call, "submit.2".
    void answer(const QString& request, const QString& text) const;
    void remove(const QString& macPath) const;
    /// "TOOL <ARGUMENT> <ARGUMENT>" a call, in order.
    QStringList calls() const;

private:
    QString m_folder;
    QString m_toolbox;
};
