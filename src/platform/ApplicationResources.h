#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/// Files that come with the program: `resources/` beside the folder of a program that was just
/// built, `share/vandor-dmg/` of an installed one.
class ApplicationResources {
public:
    /// The program's own. Needs a QCoreApplication.
    ApplicationResources();
    explicit ApplicationResources(QString folder);

    /// The host path of NAME.EXTENSION of the program's own.
    static std::optional<QString> path(const QString& name, const QString& extension);

    /// The host path of NAME.EXTENSION.
    std::optional<QString> find(const QString& name, const QString& extension) const;
    /// The host paths of all files below `subfolder` with exactly this extension, by name;
    /// nothing when there is no such subfolder.
    std::optional<QStringList> list(const QString& extension, const QString& subfolder) const;

private:
    QStringList m_folders; // the first that has it wins
};
