#include "cli/ProfileChoice.h"

#include "cli/CommandHost.h"
#include "cli/UsageError.h"
#include "notarization/NotarizationState.h"
#include "platform/UserDefaults.h"

using namespace Qt::StringLiterals;

QString chosenProfile(const std::optional<std::string>& asked, const CommandHost& host)
{
    const QString profile = asked
        ? QString::fromStdString(*asked)
        : host.defaults.string(NotarizationState::kSavedProfileName).value_or(QString());
    if (profile.isEmpty()) {
        throw UsageError(
            u"name the credentials to submit with: --profile NAME (the profile “local” "
            u"is this machine's own authority, for rehearsals)"_s);
    }
    return profile;
}
