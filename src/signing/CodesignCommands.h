#pragma once

#include <QString>

/// The command texts for the code-signing tool. Paths are the Mac's, `sha1` names the identity.
namespace CodesignCommands {

/// With a secure timestamp, as the notary asks of an image.
QString signImage(const QString& sha1, const QString& path);
/// With the hardened runtime, and everything that the bundle holds along with it.
QString signApplication(const QString& sha1, const QString& path);
QString verify(const QString& path);
/// The report goes to standard output.
QString inspect(const QString& path);

} // namespace CodesignCommands
