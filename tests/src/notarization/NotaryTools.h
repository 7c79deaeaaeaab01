#pragma once

#include "RecordingTools.h"

/// Scripts for `/usr/bin/xcrun`, `/usr/sbin/spctl` and `/usr/bin/ditto`. The requests are "submit",
/// "wait", "history", "store-credentials", "staple", "validate", "install", "open" and "archive";
/// the second of a kind is also "submit.2".
class NotaryTools : public RecordingTools {
public:
    NotaryTools(const QString& folder, const QString& toolbox);
};
