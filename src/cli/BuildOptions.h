#pragma once

#include "model/DMGConfig.h"

#include <QString>

#include <optional>
#include <string>

namespace CLI {
class App;
} // namespace CLI
class QDateTime;
class SettingsManager;

/// What `vandor build` was asked for, as it was typed.
struct BuildOptions {
    std::string application;
    std::optional<std::string> output;
    std::optional<std::string> volumeName;
    std::optional<std::string> background;
    std::optional<std::string> layout;
    std::optional<std::string> window;
    std::optional<std::string> appPosition;
    std::optional<std::string> applicationsPosition;
    std::optional<qint64> iconSize;
    std::optional<qint64> textSize;
    std::optional<std::string> format;
    bool json = false;
    bool quiet = false;
    bool verbose = false;

    /// Adds the options to `command`; parsing writes into this object, which stays where it is.
    void addTo(CLI::App& command);

    /// The job that they describe, complete and checked. Paths are absolute. Throws UsageError.
    /// Without an output the name is the one that the settings propose for `now`.
    DMGConfig job(const SettingsManager& settings, const QDateTime& now) const;
    /// The code of the image format, for `fallback` where none was asked for. Throws UsageError
    /// for one that can't be written.
    QString formatCode(const QString& fallback) const;
};
