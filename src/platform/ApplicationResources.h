#pragma once

#include <QString>

#include <optional>

/// Files that come with the program: `resources/` beside the folder of a program that was just
/// built, `share/vandor-dmg/` of an installed one.
class ApplicationResources {
public:
    /// The host path of NAME.EXTENSION. Needs a QCoreApplication.
    static std::optional<QString> path(const QString& name, const QString& extension);
};
