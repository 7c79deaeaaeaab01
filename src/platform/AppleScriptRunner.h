#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <optional>

/// How a script ended.
struct ScriptOutcome {
    bool created = true; // false: there was not even a script object to execute
    bool failed = false;
    QString information; // all that is known of the error, for the console
    std::optional<QString> message; // the error's own text, for the user

    bool operator==(const ScriptOutcome&) const = default;
};

class AppleScriptRunner {
public:
    virtual ~AppleScriptRunner() = default;
    /// Compiles and executes `script`. Never throws.
    virtual QCoro::Task<ScriptOutcome> run(QString script) = 0;
};
