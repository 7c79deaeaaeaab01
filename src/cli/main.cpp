#include "cli/CommandHost.h"
#include "cli/StandardStreams.h"
#include "cli/Vandor.h"
#include "model/SettingsManager.h"
#include "platform/Clock.h"
#include "platform/UserDefaults.h"

#include <QCoreApplication>
#include <QDir>

int main(int argc, char** argv)
{
    StandardStreams streams;
    QCoreApplication application(argc, argv);
    const CommandHost host{&SystemRoot::session, UserDefaults::standard(),
        SettingsManager::shared(), Clock::system(), QDir(QDir::tempPath()).absolutePath(),
        streams.results(), streams.messages(), [&streams] { streams.silenceOthers(); }};
    return runVandor(QCoreApplication::arguments().sliced(1), host);
}
