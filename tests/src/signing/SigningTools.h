#pragma once

#include <QString>
#include <QStringList>

/// The toolbox's own `/bin/zsh` with scripts for `/usr/bin/security` and `/usr/bin/codesign`. Each
/// records its arguments and then answers as it was told to, or as if all was well.
class SigningTools {
public:
    /// Makes them in the folder `toolbox`; keeps records and answers in `folder`.
    SigningTools(QString folder, QString toolbox);

    /// The answer, as a shell text, to "find-identity", "sign", "verify",
    /// "inspect" or "describe".
    void answer(const QString& request, const QString& text) const;
    void remove(const QString& macPath) const;
    /// "TOOL <ARGUMENT> <ARGUMENT>" a call, in order.
    QStringList calls() const;

private:
    QString m_folder;
    QString m_toolbox;
};

/// A line of the identities' list.
QString identityLine(const QString& sha1, const QString& name);
