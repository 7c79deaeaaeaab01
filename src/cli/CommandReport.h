#pragma once

#include <QString>

class QIODevice;
class QJsonObject;

/// A step that ended a command.
struct CommandFailure {
    QString what; // completes "vandor: ...: STEP failed."
    QString step;
    QString tool; // the Mac's path; empty where no tool was at work
    QString said;
    QString remedy;
};

/// How a command speaks to its caller: progress and failures for a person go to `messages`, what
/// was asked for to `results`. With JSON, `results` has one object a line, each with
/// "schema": "vandor.COMMAND/1" and an "event"; the last event is "result" with a "status".
/// Everything is written at once.
class CommandReport {
public:
    struct Form {
        QString command; // "sign"
        bool json = false;
        bool quiet = false; // no progress
    };
    /// The devices are borrowed.
    CommandReport(QIODevice& results, QIODevice& messages, Form form);

    void misused(const QString& message);
    /// The same to a program alone: the person has been told.
    void misusedEvent(const QString& message);
    void progress(const QString& message);
    /// One thing of several that were asked for: `line` for a person, `fields` as JSON.
    void item(const QString& event, const QString& line, const QJsonObject& fields);
    /// What only a program wants to hear of, at the moment it happens: JSON alone.
    void event(const QString& name, QJsonObject fields);
    /// The command is done. An empty line is left out.
    void finished(const QString& line, QJsonObject fields);
    void failed(const CommandFailure& failure);
    /// The command is done, and what it looked at is not as it should be.
    void objected(const QString& line, QJsonObject fields);
    /// `state` says how the user's files are now.
    void interrupted(const QString& state);

private:
    void end(const QString& line, QJsonObject& fields, const QString& status);
    void say(const QString& text);

    QIODevice& m_results;
    QIODevice& m_messages;
    Form m_form;
};
