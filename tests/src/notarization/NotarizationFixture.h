#pragma once

#include "NotaryTools.h"
#include "SigningTools.h"

#include "Await.h"
#include "Scratch.h"
#include "notarization/NotarizationHost.h"
#include "notarization/NotaryService.h"
#include "platform/Clock.h"
#include "platform/HostToolRunner.h"
#include "platform/UserDefaults.h"
#include "process/ShellRunner.h"

#include <gtest/gtest.h>

#include <vector>

/// A clock whose waits are over at once, or when they are cancelled.
class HandClock : public Clock {
public:
    QDateTime now() const override { return QDateTime({2026, 3, 5}, {14, 3, 27}); }
    QCoro::Task<> wait(
        std::chrono::milliseconds duration, CancellationHandle cancellation) override;

    bool isHeld = false;
    std::vector<std::chrono::milliseconds> begun;
};

/// Services over scripted tools that the toolbox's own shell runs. Public, so that a row of a table
/// can have one of its own.
class NotarizationFixture : public testing::Test {
public:
    NotarizationFixture();
    void TestBody() override { }

    /// A command's answer on standard error, which the shell passes on with a mark in front.
    static QString onError(const QString& text);

    const QUrl image = QUrl::fromLocalFile(QStringLiteral("/out/My App 1.0.dmg"));
    const QUrl application = QUrl::fromLocalFile(QStringLiteral("/out/My App.app/"));

    Scratch scratch;
    SigningTools signing{
        scratch.path(QStringLiteral("signing")), scratch.path(QStringLiteral("tools"))};
    NotaryTools scripted{
        scratch.path(QStringLiteral("notary")), scratch.path(QStringLiteral("tools"))};
    HostToolRunner tools{
        SystemRoot(scratch.path(QStringLiteral("tools")), scratch.path(QStringLiteral("state")))};
    ShellRunner shell{tools};
    HandClock clock;
    UserDefaults defaults{scratch.path(QStringLiteral("defaults.plist"))};
    NotaryService service{shell, clock};
    NotarizationHost host{service, shell, defaults, scratch.path(QStringLiteral("tmp"))};
};
