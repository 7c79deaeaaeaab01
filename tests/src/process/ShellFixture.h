#pragma once

#include "process/ShellRunner.h"

#include "Await.h"
#include "Scratch.h"
#include "platform/HostToolRunner.h"

#include <gtest/gtest.h>

/// A runner whose `/bin/zsh` is the host's own shell, with an empty home folder.
class ShellFixture : public testing::Test {
public:
    ShellFixture()
    {
        QDir().mkpath(scratch.path(QStringLiteral("tools/bin")));
        QDir().mkpath(scratch.path(QStringLiteral("home")));
        QFile::link(QStringLiteral("/usr/bin/zsh"), zsh());
        qputenv("HOME", QFile::encodeName(scratch.path(QStringLiteral("home"))));
    }
    ~ShellFixture() override { qputenv("HOME", m_home); }

    QString zsh() const { return scratch.path(QStringLiteral("tools/bin/zsh")); }
    QString run(const QString& command) { return await(shell.runSync(command)); }
    /// How `command` fails; the test does when it doesn't.
    std::optional<ShellError> failure(const QString& command)
    {
        try {
            run(command);
        } catch (const ShellError& error) {
            return error;
        }
        ADD_FAILURE() << "succeeds: " << qPrintable(command);
        return std::nullopt;
    }
    /// All pieces, once the command has ended.
    static QStringList pieces(OutputSequence output)
    {
        const auto collect = [](OutputSequence from) -> QCoro::Task<QStringList> {
            QStringList all;
            while (const std::optional<QString> piece = co_await from.next())
                all += *piece;
            co_return all;
        };
        return await(collect(output));
    }

    Scratch scratch;
    HostToolRunner tools{
        SystemRoot(scratch.path(QStringLiteral("tools")), scratch.path(QStringLiteral("state")))};
    ShellRunner shell{tools};

private:
    QByteArray m_home = qgetenv("HOME");
};
