#pragma once

#include "platform/ToolRunner.h"
#include "signing/SigningIdentity.h"

#include <QList>

/// Asks the keychain for its valid code-signing identities.
ToolCall findIdentities();

/// The identities in the tool's output, in its order, each with an `id` of its own. A line counts
/// when a fingerprint in capitals stands before the first of its quotation marks.
QList<SigningIdentity> identitiesIn(const QString& output);
