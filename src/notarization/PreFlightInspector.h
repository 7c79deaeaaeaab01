#pragma once

#include "notarization/InspectionResult.h"

#include <QCoro/QCoroTask>
#include <QUrl>

#include <functional>

class ShellRunner;

/// Finds out whether an application is ready for distribution as it is: signed with a secure
/// timestamp, notarized, and stapled. Keeps nothing between inspections, which overlap freely.
class PreFlightInspector {
public:
    /// Takes a short text for the user: once as each check starts, and once at the end.
    using Progress = std::function<void(const QString& label)>;

    /// `shell` outlives this object and every inspection.
    explicit PreFlightInspector(ShellRunner& shell);
    /// The one over the host's own shell, made on first use, never destroyed.
    static PreFlightInspector& shared();

    /// Never throws: every problem is a result with a reason.
    QCoro::Task<InspectionResult> inspect(QUrl application, Progress progress = {});

private:
    ShellRunner& m_shell;
};
