#pragma once

#include <QString>

class QIODevice;
class QJsonObject;

struct FinishedBuild {
    QString path;
    qint64 bytes = 0;
    double seconds = 0;
    QString volumeName;
    QString format;
};

struct FailedBuild {
    QString step;
    QString tool; // empty where no tool was at work
    QString said;
    QString remedy;
};

/// How a build speaks to its caller: progress and failures for a person go to `messages`, the
/// result to `results`. With JSON, `results` has one object a line, each with
/// "schema": "vandor.build/1" and an "event" (progress, warning, result). Everything is written at
/// once.
class BuildReport {
public:
    struct Form {
        bool json = false;
        bool quiet = false; // no progress
    };
    /// The devices are borrowed.
    BuildReport(QIODevice& results, QIODevice& messages, Form form);

    void misused(const QString& message);
    void progress(const QString& message);
    /// What the caller may want to change; the build goes on.
    void warning(const QString& message);
    void finished(const FinishedBuild& build);
    void failed(const FailedBuild& build);
    void interrupted();

private:
    void event(const QString& name, QJsonObject fields);
    void say(const QString& text);

    QIODevice& m_results;
    QIODevice& m_messages;
    Form m_form;
};
