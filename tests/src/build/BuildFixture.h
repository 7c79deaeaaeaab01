#pragma once

#include "ScriptedTools.h"

#include "build/BuildHost.h"
#include "model/DMGConfig.h"
#include "model/SettingsManager.h"
#include "platform/AppleScriptRunner.h"
#include "platform/Clock.h"
#include "platform/HostToolRunner.h"
#include "platform/Icons.h"
#include "platform/UserDefaults.h"

#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <functional>

/// A clock turned by hand: a wait ends when it is cancelled or, unless the clock is held, at once.
class HandClock : public Clock {
public:
    QDateTime now() const override { return QDateTime({2026, 3, 5}, {14, 3, 27}); }
    QCoro::Task<> wait(
        std::chrono::milliseconds duration, CancellationHandle cancellation) override;

    bool isHeld = false;
    std::vector<std::chrono::milliseconds> begun;
    int running = 0;
};

/// Icons in memory; remembers what was set where.
class MemoryIcons : public IconService {
public:
    std::optional<Icon> resource(const QString& name) override;
    std::optional<Icon> forFile(const QString& path) override;
    bool setCustomIcon(const Icon& icon, const QString& macPath) override;

    std::optional<Icon> ofApplication = Icon{"the system's own"};
    std::optional<Icon> ofFiles = Icon{"an application's"};
    bool refuses = false;
    QStringList placed; // "PATH <- ICON"
};

/// Keeps the scripts that it is handed and answers what it was told to.
class ListeningScripts : public AppleScriptRunner {
public:
    QCoro::Task<ScriptOutcome> run(QString script) override;

    ScriptOutcome answer;
    QStringList scripts;
};

/// A host of small shell scripts in place of the Mac's tools, each recording its arguments, and of
/// doubles in place of the other services.
class BuildFixture : public testing::Test {
public:
    BuildFixture();

    QStringList workspaces() const;
    /// Turns the main loop until `isDone`; false when ten seconds have gone.
    static bool turnUntil(const std::function<bool()>& isDone);

    QString path(const QString& relative) const { return m_folder.filePath(relative); }
    void write(const QString& relative, const QByteArray& content) const
    {
        writeFile(path(relative), content);
    }
    QByteArray read(const QString& relative) const { return readFile(path(relative)); }

private:
    QTemporaryDir m_folder;

public:
    ScriptedTools scripted;
    SystemRoot root;
    HostToolRunner tools;
    HandClock clock;
    MemoryIcons icons;
    ListeningScripts scripts;
    UserDefaults defaults;
    SettingsManager settings;
    BuildHost host;
    DMGConfig job;
};
