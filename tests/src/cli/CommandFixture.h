#pragma once

#include "ScriptedTools.h"

#include "cli/CommandHost.h"
#include "model/SettingsManager.h"
#include "platform/Clock.h"
#include "platform/UserDefaults.h"

#include <QBuffer>
#include <QJsonObject>
#include <QTemporaryDir>
#include <gtest/gtest.h>

/// The fifth of March 2026; every wait is over at once.
class StoppedClock : public Clock {
public:
    QDateTime now() const override { return QDateTime({2026, 3, 5}, {14, 3, 27}); }
    QCoro::Task<> wait(std::chrono::milliseconds, CancellationHandle) override { co_return; }
};

/// The program in this process: scripted tools, streams in memory, a folder to work in that is the
/// current one. Public, so that a row of a table can have a host of its own.
class CommandFixture : public testing::Test {
public:
    CommandFixture();
    ~CommandFixture() override;
    void TestBody() override { }

    /// Runs `vandor ARGUMENTS` and returns its exit status, -1 when the watchdog had to end it.
    int run(const QStringList& arguments);
    /// What Example.app says its version is.
    void setVersion(const QString& version) const;
    QString folder() const { return m_folder.path(); }
    QString path(const QString& relative) const { return m_folder.filePath(relative); }
    QString results() const { return QString::fromUtf8(m_results.data()); }
    QString messages() const { return QString::fromUtf8(m_messages.data()); }
    /// Each line of the results, which must be objects of the agreed schema.
    QList<QJsonObject> events() const;
    /// What a run may leave nothing in: session folders, and hidden folders beside the output.
    QStringList leftBehind() const;

private:
    QTemporaryDir m_folder;
    QString m_previousFolder;
    QBuffer m_results;
    QBuffer m_messages;

public:
    ScriptedTools scripted;
    StoppedClock clock;
    UserDefaults defaults;
    SettingsManager settings;
    int silenced = 0;
    CommandHost host;
};
