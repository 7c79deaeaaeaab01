#include "notarization/PreFlightInspector.h"

#include "notarization/NotaryCommands.h"
#include "platform/Paths.h"
#include "process/ShellQuoting.h"
#include "process/ShellRunner.h"

using namespace Qt::StringLiterals;

namespace {

struct Check {
    QStringView label;
    QStringView header; // in the log
    QString (*command)(const QString& path);
    QStringView mark; // in the output of a check that passes
    bool InspectionResult::*passed;
    QStringView failureLabel;
    QStringView failureReason; // in the log after a cross and a blank
};

constexpr Check checks[] = {
    {u"Checking Signature...", u"--- 1. Checking Signature & Timestamp ---\n",
        &NotaryCommands::describeSignature, u"Timestamp", &InspectionResult::isSigned,
        u"Signature Check Failed", u"Signature verification failed."},
    {u"Checking Notarization...", u"\n--- 2. Checking Notarization ---\n",
        &NotaryCommands::assessInstallation, u"source=Notarized Developer ID",
        &InspectionResult::isNotarized, u"Notarization Check Failed",
        u"Notarization check (spctl) failed."},
    {u"Checking Staple...", u"\n--- 3. Checking Staple ---\n", &NotaryCommands::validateStaple,
        u"The validate action worked!", &InspectionResult::isStapled, u"Staple Check Failed",
        u"Staple verification failed."},
};

} // namespace

PreFlightInspector::PreFlightInspector(ShellRunner& shell)
    : m_shell(shell)
{ }

PreFlightInspector& PreFlightInspector::shared()
{
    static auto* const instance = new PreFlightInspector(ShellRunner::shared());
    return *instance;
}

QCoro::Task<InspectionResult> PreFlightInspector::inspect(QUrl application, Progress progress)
{
    ShellRunner& shell = m_shell;
    const QString path = pathOf(application);
    const auto report = [&progress](QStringView label) {
        if (progress)
            progress(label.toString());
    };
    InspectionResult result;
    for (const Check& check : checks) {
        report(check.label);
        result.logs += check.header;
        bool& hasPassed = result.*check.passed;
        try {
            const QString command = withErrors(check.command(path));
            const QString output = co_await shell.runSync(command);
            result.logs += output + u'\n';
            hasPassed = output.contains(check.mark);
        } catch (const ShellError& error) {
            result.logs += u"Error: "_s + error.rendering() + u'\n';
        }
        if (!hasPassed) {
            report(check.failureLabel);
            result.failureReason = check.failureReason.toString();
            result.logs += u"❌ "_s + *result.failureReason + u'\n';
            co_return result;
        }
    }
    report(u"Verification Complete!");
    result.logs += u"\n✅ Pre-Flight Verification Complete: App is ready for distribution.\n"_s;
    co_return result;
}
