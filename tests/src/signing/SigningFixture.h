#pragma once

#include "SigningTools.h"

#include "Await.h"
#include "Scratch.h"
#include "platform/HostToolRunner.h"
#include "platform/UserDefaults.h"
#include "process/ShellRunner.h"
#include "signing/SigningManager.h"

#include <gtest/gtest.h>

#include <memory>

/// A manager over scripted tools that the toolbox's own shell runs. Public, so that a row of a
/// table can have one of its own.
class SigningFixture : public testing::Test {
public:
    SigningFixture();
    void TestBody() override { }

    void scan();
    /// Has the tool list identities, one "SHA1 NAME" each.
    void list(const QList<std::pair<QString, QString>>& identities) const;

    static const QString ada; // fingerprints
    static const QString bob;
    const SigningIdentity identity{
        QUuid::createUuid(), ada, QStringLiteral("Developer ID Application: Ada (TEAM)")};
    const QString key = QStringLiteral("SavedSigningIdentitySHA1");

    Scratch scratch;
    SigningTools scripted{scratch.path(), scratch.path(QStringLiteral("tools"))};
    HostToolRunner tools{
        SystemRoot(scratch.path(QStringLiteral("tools")), scratch.path(QStringLiteral("state")))};
    ShellRunner shell{tools};
    UserDefaults defaults{scratch.path(QStringLiteral("defaults.plist"))};
    std::unique_ptr<SigningManager> manager =
        std::make_unique<SigningManager>(SigningHost{tools, shell, defaults});
};
