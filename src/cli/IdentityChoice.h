#pragma once

#include "signing/SigningIdentity.h"

#include <QList>

#include <optional>

/// The one of `identities` (at least one) to sign with: the one that `asked` tells by its
/// fingerprint, its name or a part of its name; where nothing was asked for, the user's
/// `remembered` choice or the only one. Throws UsageError where that is none or more than one. An
/// identity that is listed twice counts once.
SigningIdentity chosenIdentity(const QList<SigningIdentity>& identities,
    const std::optional<QString>& asked, const std::optional<SigningIdentity>& remembered);
