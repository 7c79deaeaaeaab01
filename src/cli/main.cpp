#include "cli/CommandHost.h"
#include "cli/StandardStreams.h"
#include "cli/Vandor.h"
#include "model/SettingsManager.h"
#include "platform/Clock.h"
#include "platform/UserDefaults.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <pwd.h>
#include <unistd.h>

namespace {

/// Where services start programs without the variable, Qt would take the root folder for the
/// user's.
void completeEnvironment()
{
    if (!qEnvironmentVariableIsEmpty("HOME"))
        return;
    if (const passwd* user = ::getpwuid(::getuid()))
        qputenv("HOME", user->pw_dir);
}

/// What TMPDIR says, be it there or not; Qt's own answer is the current folder if it isn't.
QString temporaryFolder()
{
    const QString asked = QFile::decodeName(qgetenv("TMPDIR"));
    return QDir::cleanPath(QDir(asked.isEmpty() ? QStringLiteral("/tmp") : asked).absolutePath());
}

} // namespace

int main(int argc, char** argv)
{
    StandardStreams streams;
    completeEnvironment();
    QCoreApplication application(argc, argv);
    const CommandHost host{&SystemRoot::session, UserDefaults::standard(),
        SettingsManager::shared(), Clock::system(), temporaryFolder(), streams.results(),
        streams.messages(), [&streams] { streams.silenceOthers(); }};
    return runVandor(QCoreApplication::arguments().sliced(1), host);
}
