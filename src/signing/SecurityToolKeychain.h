#pragma once

#include "platform/KeychainProbe.h"

class ToolRunner;

/// The probe where there is no keychain but for the tool that lists its identities: the first valid
/// one counts.
class SecurityToolKeychain : public KeychainProbe {
public:
    /// `tools` outlives this object.
    explicit SecurityToolKeychain(ToolRunner& tools);
    QCoro::Task<std::optional<QString>> identityName() override;

private:
    ToolRunner& m_tools;
};
