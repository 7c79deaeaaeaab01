#include "notarization/NotaryToolClient.h"

#include "notarization/NotaryCommands.h"
#include "notarization/NotaryError.h"
#include "platform/LaunchError.h"
#include "platform/ToolRunner.h"
#include "platform/Utf8.h"

using namespace Qt::StringLiterals;

namespace {

QCoro::Task<QString> outputOf(ToolRunner& tools, ToolCall call)
{
    const ToolOutcome outcome = co_await tools.run(call);
    if (outcome.launchError)
        throw LaunchError(*outcome.launchError);
    const QString output = textFromUtf8(outcome.output).value_or(QString());
    if (outcome.exitStatus != 0)
        throw NotaryError::commandFailed(output);
    co_return output;
}

} // namespace

QCoro::Task<> NotaryToolClient::storeCredentials(
    ToolRunner& tools, QString profile, QString appleId, QString teamId, QString password)
{
    const NotaryCommands::AppleAccount account{appleId, teamId, password};
    const ToolCall call = NotaryCommands::storeCredentials(profile, account);
    co_await outputOf(tools, call);
}

QCoro::Task<> NotaryToolClient::storeKey(
    ToolRunner& tools, QString profile, QString keyFile, QString keyId, QString issuer)
{
    const NotaryCommands::ServiceKey key{keyFile, keyId, issuer};
    const ToolCall call = NotaryCommands::storeCredentials(profile, key);
    co_await outputOf(tools, call);
}

QCoro::Task<QString> NotaryToolClient::verifyCredentials(ToolRunner& tools, QString profile)
{
    const ToolCall call = NotaryCommands::history(profile);
    const QString history = co_await outputOf(tools, call);
    co_return u"Credentials Verified. History Check:\n"_s + history;
}
