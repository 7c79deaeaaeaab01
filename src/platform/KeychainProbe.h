#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <optional>

/// Asks the user's keychain whether this program may use an identity of it. Where the keychain asks
/// the user in turn, that takes as long as the user does.
class KeychainProbe {
public:
    virtual ~KeychainProbe() = default;
    /// The common name of an identity's certificate; nothing when there is no identity, no access
    /// to it or no name.
    virtual QCoro::Task<std::optional<QString>> identityName() = 0;
};
