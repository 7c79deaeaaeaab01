#pragma once

#include "platform/ToolRunner.h"

#include <QString>

#include <optional>

/// The command lines of a build and what is read from the tools' answers. All pure. No argument is
/// quoted: none passes through a shell. Volumes are named by the Mac's own path, files by the
/// host's.
namespace BuildTools {

ToolCall unmountByForce(const QString& mountPoint);
ToolCall createWritableImage(
    const QString& volumeName, const QString& sourceFolder, const QString& image);
ToolCall attach(const QString& image);
ToolCall markCustomIcon(const QString& mountPoint);
/// Runs even when the program is being interrupted, so that no volume stays behind.
ToolCall detach(const QString& mountPoint);
ToolCall flushDisks();
/// As for `detach`.
ToolCall eject(const QString& mountPoint);
ToolCall convert(const QString& image, const QString& format, const QString& output);

/// What a tool wrote, where it is UTF-8.
std::optional<QString> textIn(const QByteArray& output);
/// The same for standard error: "Unknown Error" stands for bytes that are no text.
QString errorTextIn(const QByteArray& standardError);
/// The volume's path in the output of `attach`: the rest of the first line that names one, from
/// "/Volumes/" on, so that the columns before it go and blanks inside the name stay.
std::optional<QString> mountPointIn(const QByteArray& attachOutput);

} // namespace BuildTools
