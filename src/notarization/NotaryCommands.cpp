#include "notarization/NotaryCommands.h"

#include "process/ShellQuoting.h"

using namespace Qt::StringLiterals;

namespace {

ToolCall credentialCall(const QStringList& arguments)
{
    ToolCall call;
    call.program = u"/usr/bin/xcrun"_s;
    call.arguments = QStringList{u"notarytool"_s} + arguments;
    call.captureOutput = true;
    call.mergeError = true;
    return call;
}

} // namespace

namespace NotaryCommands {

QString submit(const QString& path, const QString& profile)
{
    return shellCommand(
        u"/usr/bin/xcrun notarytool submit %1 --keychain-profile %2 --wait"_s, path, profile);
}

QString await(const QString& submission, const QString& profile)
{
    return shellCommand(
        u"/usr/bin/xcrun notarytool wait %1 --keychain-profile %2"_s, submission, profile);
}

QString submissionLog(const QString& submission, const QString& profile)
{
    return shellCommand(
        u"/usr/bin/xcrun notarytool log %1 --keychain-profile %2"_s, submission, profile);
}

QString staple(const QString& path)
{
    return shellCommand(u"/usr/bin/xcrun stapler staple %1"_s, path);
}

QString validateStaple(const QString& path)
{
    return shellCommand(u"/usr/bin/xcrun stapler validate %1"_s, path);
}

QString archive(const QString& application, const QString& zip)
{
    return shellCommand(u"/usr/bin/ditto -c -k --keepParent %1 %2"_s, application, zip);
}

QString assessInstallation(const QString& path)
{
    return shellCommand(u"/usr/sbin/spctl -a -vvv -t install %1"_s, path);
}

QString assessImage(const QString& path)
{
    return shellCommand(
        u"/usr/sbin/spctl -a -t open --context context:primary-signature -v %1"_s, path);
}

QString describeSignature(const QString& path)
{
    return shellCommand(u"/usr/bin/codesign -dvv %1"_s, path);
}

ToolCall storeCredentials(const QString& profile, const AppleAccount& account)
{
    return credentialCall({u"store-credentials"_s, profile, u"--apple-id"_s, account.appleId,
        u"--team-id"_s, account.teamId, u"--password"_s, account.password});
}

ToolCall storeCredentials(const QString& profile, const ServiceKey& key)
{
    QStringList arguments{
        u"store-credentials"_s, profile, u"--key"_s, key.file, u"--key-id"_s, key.id};
    if (!key.issuer.isEmpty())
        arguments += {u"--issuer"_s, key.issuer};
    return credentialCall(arguments);
}

ToolCall history(const QString& profile)
{
    return credentialCall({u"history"_s, u"--keychain-profile"_s, profile});
}

} // namespace NotaryCommands
