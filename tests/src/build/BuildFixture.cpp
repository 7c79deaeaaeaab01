#include "BuildFixture.h"

#include <QCoreApplication>
#include <QCoro/QCoroSignal>
#include <QDeadlineTimer>
#include <QDir>
#include <QTimer>

using namespace Qt::StringLiterals;

QCoro::Task<> HandClock::wait(std::chrono::milliseconds duration, CancellationHandle cancellation)
{
    begun.push_back(duration);
    if (!isHeld || cancellation->isRequested())
        co_return;
    ++running;
    co_await qCoro(cancellation.get(), &Cancellation::requested);
    --running;
}

std::optional<Icon> MemoryIcons::resource(const QString& name)
{
    return name == "AppIcon"_L1 ? ofApplication : std::nullopt;
}

std::optional<Icon> MemoryIcons::forFile(const QString&)
{
    return ofFiles;
}

bool MemoryIcons::setCustomIcon(const Icon& icon, const QString& macPath)
{
    placed += macPath + u" <- "_s + QString::fromUtf8(icon.icns);
    return !refuses;
}

QCoro::Task<ScriptOutcome> ListeningScripts::run(QString script)
{
    scripts += script;
    co_return answer;
}

BuildFixture::BuildFixture()
    : scripted(m_folder.path(), u"tools"_s)
    , root(scripted.path(), path(u"state"_s))
    , tools(root)
    , defaults(path(u"defaults.plist"_s))
    , settings(defaults)
    , host{root, tools, clock, scripts, icons, settings, path(u"tmp"_s), {}}
{
    QDir().mkpath(path(u"tmp"_s));
    QDir().mkpath(path(u"out"_s));
    write(u"in/Example.app/Contents/MacOS/Example"_s, "code");
    write(u"in/sea.png"_s, "picture");
    job.appURL = QUrl::fromLocalFile(path(u"in/Example.app"_s));
    job.outputURL = QUrl::fromLocalFile(path(u"out/Example.dmg"_s));
}

QStringList BuildFixture::workspaces() const
{
    return QDir(path(u"tmp"_s)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

bool BuildFixture::turnUntil(const std::function<bool()>& isDone)
{
    const QDeadlineTimer watchdog(10'000);
    QTimer wake;
    wake.start(5);
    while (!isDone() && !watchdog.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return isDone();
}
