#pragma once

#include <QHashFunctions>
#include <QString>
#include <QUuid>

/// A certificate with its private key, as one scan found it. `id` is new with every scan, so the
/// same certificate found again is another value; `sha1` is what stays.
struct SigningIdentity {
    QUuid id;
    QString sha1; // fingerprint: 40 characters, 0-9 and A-F
    QString name;

    bool operator==(const SigningIdentity&) const = default;
};

inline size_t qHash(const SigningIdentity& identity, size_t seed = 0)
{
    return qHashMulti(seed, identity.id, identity.sha1, identity.name);
}
