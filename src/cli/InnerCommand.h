#pragma once

#include "cli/CommandHost.h"

#include <QIODevice>
#include <QJsonObject>

#include <functional>

/// A command that runs as a part of another: its events, one a line, go to the other instead of to
/// the caller. What it says to a person goes where it always goes.
class InnerCommand : public QIODevice {
    Q_OBJECT
public:
    using Listener = std::function<void(const QJsonObject& event)>;

    /// Runs `command` with JSON results, and gives its exit status. Every event goes to `listener`
    /// at once, without the name of its schema.
    static int run(const CommandHost& host, const Listener& listener,
        const std::function<int(const CommandHost&)>& command);

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override;

private:
    explicit InnerCommand(Listener listener);

    Listener m_listener;
    QByteArray m_line;
};
