#pragma once

#include <QCoro/QCoroTask>
#include <QString>

class ToolRunner;

/// Stores and verifies the credentials that submissions name by their profile. The tool keeps them;
/// nothing of them stays here. `tools` outlives the operation.
class NotaryToolClient {
public:
    NotaryToolClient() = delete;

    /// Stores a profile. `password` is an app-specific one. Throws NotaryError when the tool
    /// refuses, LaunchError when it can't be started.
    static QCoro::Task<> storeCredentials(
        ToolRunner& tools, QString profile, QString appleId, QString teamId, QString password);
    /// Stores a profile that signs with a key of the service's programming interface, kept in
    /// `keyFile`. `issuer` is empty for a key of one person's own. Throws as above.
    static QCoro::Task<> storeKey(
        ToolRunner& tools, QString profile, QString keyFile, QString keyId, QString issuer);
    /// Asks the service for the profile's submissions and gives what the tool says of them. Throws
    /// as above.
    static QCoro::Task<QString> verifyCredentials(ToolRunner& tools, QString profile);
};
