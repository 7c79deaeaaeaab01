#pragma once

#include "platform/ToolRunner.h"

#include <QString>

/// The command lines of notarization: texts for the shell, and calls that are started directly.
/// Paths are the Mac's.
namespace NotaryCommands {

QString submit(const QString& path, const QString& profile);
QString await(const QString& submission, const QString& profile);
/// What the service found, as JSON.
QString submissionLog(const QString& submission, const QString& profile);
QString staple(const QString& path);
QString validateStaple(const QString& path);
QString archive(const QString& application, const QString& zip);

/// Whether Gatekeeper lets `path` be installed; and, for an image, be opened.
QString assessInstallation(const QString& path);
QString assessImage(const QString& path);
/// The details of a signature.
QString describeSignature(const QString& path);

struct AppleAccount {
    QString appleId;
    QString teamId;
    QString password; // an app-specific one
};
struct ServiceKey {
    QString file; // the private key
    QString id;
    QString issuer; // empty for a key of one person's own
};
ToolCall storeCredentials(const QString& profile, const AppleAccount& account);
ToolCall storeCredentials(const QString& profile, const ServiceKey& key);
ToolCall history(const QString& profile);

} // namespace NotaryCommands
