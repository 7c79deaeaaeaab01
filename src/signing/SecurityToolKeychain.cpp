#include "signing/SecurityToolKeychain.h"

#include "platform/Utf8.h"
#include "signing/IdentityScan.h"

SecurityToolKeychain::SecurityToolKeychain(ToolRunner& tools)
    : m_tools(tools)
{ }

QCoro::Task<std::optional<QString>> SecurityToolKeychain::identityName()
{
    const ToolCall call = findIdentities();
    const ToolOutcome outcome = co_await m_tools.run(call);
    if (!outcome.succeeded())
        co_return std::nullopt;
    const QList<SigningIdentity> identities =
        identitiesIn(textFromUtf8(outcome.output).value_or(QString()));
    if (identities.isEmpty() || identities.first().name.isEmpty())
        co_return std::nullopt;
    const QString name = identities.first().name;
    co_return name;
}
