#include "BuildFixture.h"

#include <QCoreApplication>
#include <QCoro/QCoroSignal>
#include <QDeadlineTimer>
#include <QDir>
#include <QDirIterator>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

// Records "PROGRAM<US>ARGUMENT<US>..." as one line and then answers: by a text for the verb, by one
// for the tool, or as below.
const char* const recorder = R"sh(#!/bin/sh
base="${0%@PATH@}"
line="@PATH@"
for argument; do line="$line$(printf '\037')$argument"; done
printf '%s\n' "$line" >> "$base/../calls"
for last; do :; done
name="${0##*/}"
for answer in "$base/../answers/$name.$1" "$base/../answers/$name"; do
    if [ -f "$answer" ]; then . "$answer"; exit; fi
done
case "$name.$1" in
hdiutil.create) printf 'image of %s' "$3" > "$last" ;;
hdiutil.attach)
    printf '/dev/disk4\tGUID_partition_scheme\t\n'
    printf '/dev/disk4s1\tApple_HFS\t/Volumes/My App Installer\n' ;;
hdiutil.convert) printf '%s of ' "$4" > "$last"; cat "$2" >> "$last" ;;
esac
)sh";

const QStringList toolPaths{
    u"/usr/bin/hdiutil"_s, u"/usr/sbin/diskutil"_s, u"/usr/bin/SetFile"_s, u"/bin/sync"_s};

} // namespace

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
    : root(path(u"tools"_s), path(u"state"_s))
    , tools(root)
    , defaults(path(u"defaults.plist"_s))
    , settings(defaults)
    , host{root, tools, clock, scripts, icons, settings, path(u"tmp"_s), {}}
{
    QDir().mkpath(path(u"tmp"_s));
    QDir().mkpath(path(u"out"_s));
    for (const QString& tool : toolPaths) {
        write(u"tools"_s + tool, QByteArray(recorder).replace("@PATH@", tool.toUtf8()));
        QFile::setPermissions(path(u"tools"_s + tool), QFile::ReadOwner | QFile::ExeOwner);
    }
    write(u"in/Example.app/Contents/MacOS/Example"_s, "code");
    write(u"in/sea.png"_s, "picture");
    job.appURL = QUrl::fromLocalFile(path(u"in/Example.app"_s));
    job.outputURL = QUrl::fromLocalFile(path(u"out/Example.dmg"_s));
}

void BuildFixture::script(const QString& tool, const QString& verb, const QString& text)
{
    write(u"answers/"_s + tool + (verb.isEmpty() ? verb : u'.' + verb), text.toUtf8());
}

QStringList BuildFixture::calls() const
{
    QString all = QString::fromUtf8(read(u"calls"_s));
    static const QRegularExpression uuid(u"[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}"_s);
    all.replace(path(u"tmp"_s) + u'/', QString()).replace(uuid, u"{WS}"_s);
    all.replace(path(QString()), QString()).replace(u'\x1f', u' ');
    return all.split(u'\n', Qt::SkipEmptyParts);
}

QStringList BuildFixture::workspaces() const
{
    return QDir(path(u"tmp"_s)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

bool BuildFixture::turnUntil(const std::function<bool()>& isDone)
{
    const QDeadlineTimer watchdog(10'000);
    while (!isDone() && !watchdog.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 50);
    return isDone();
}

void BuildFixture::write(const QString& relative, const QByteArray& content) const
{
    const QFileInfo place(path(relative));
    place.dir().mkpath(u"."_s);
    QFile file(place.filePath());
    ASSERT_TRUE(file.open(QFile::WriteOnly)) << qPrintable(file.fileName());
    file.write(content);
}

QByteArray BuildFixture::read(const QString& relative) const
{
    QFile file(path(relative));
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}
