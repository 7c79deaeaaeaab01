#pragma once

#include "RecordingTools.h"

/// The toolbox's own `/bin/zsh` with scripts for `/usr/bin/security` and `/usr/bin/codesign`. The
/// requests are "find-identity", "sign", "verify", "inspect" and "describe".
class SigningTools : public RecordingTools {
public:
    SigningTools(const QString& folder, const QString& toolbox);
};

/// A line of the identities' list.
QString identityLine(const QString& sha1, const QString& name);
