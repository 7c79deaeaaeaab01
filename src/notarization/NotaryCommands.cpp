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
    return u"/usr/bin/xcrun notarytool submit %1 --keychain-profile %2 --wait"_s.arg(
        shellQuoted(path), shellQuoted(profile));
}

QString await(const QString& submission, const QString& profile)
{
    return u"/usr/bin/xcrun notarytool wait %1 --keychain-profile %2"_s.arg(
        shellQuoted(submission), shellQuoted(profile));
}

QString submissionLog(const QString& submission, const QString& profile)
{
    return u"/usr/bin/xcrun notarytool log %1 --keychain-profile %2"_s.arg(
        shellQuoted(submission), shellQuoted(profile));
}

QString staple(const QString& path)
{
    return u"/usr/bin/xcrun stapler staple "_s + shellQuoted(path);
}

QString validateStaple(const QString& path)
{
    return u"/usr/bin/xcrun stapler validate "_s + shellQuoted(path);
}

QString archive(const QString& application, const QString& zip)
{
    return u"/usr/bin/ditto -c -k --keepParent %1 %2"_s.arg(
        shellQuoted(application), shellQuoted(zip));
}

QString assessInstallation(const QString& path)
{
    return u"/usr/sbin/spctl -a -vvv -t install "_s + shellQuoted(path);
}

QString assessImage(const QString& path)
{
    return u"/usr/sbin/spctl -a -t open --context context:primary-signature -v "_s
        + shellQuoted(path);
}

QString describeSignature(const QString& path)
{
    return u"/usr/bin/codesign -dvv "_s + shellQuoted(path);
}

QString withErrors(const QString& command)
{
    return command + u" 2>&1"_s;
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
