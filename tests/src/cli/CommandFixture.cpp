#include "CommandFixture.h"

#include "cli/Vandor.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonDocument>
#include <QTimer>

#include <unistd.h>

using namespace Qt::StringLiterals;

CommandFixture::CommandFixture()
    : m_previousFolder(QDir::currentPath())
    , scripted(m_folder.path(), u"toolbox"_s)
    , defaults(path(u"defaults.plist"_s))
    , settings(defaults)
    , host{[this](const QString& state) { return SystemRoot(scripted.path(), state); }, defaults,
          settings, clock, path(u"tmp"_s), m_results, m_messages, [this] { ++silenced; }}
{
    QDir(m_folder.path()).mkpath(u"tmp"_s);
    QDir(m_folder.path()).mkpath(u"out"_s);
    QDir::setCurrent(m_folder.path());
    setVersion(u"7"_s);
    writeFile(path(u"sea.png"_s), "picture");
    m_results.open(QBuffer::WriteOnly);
    m_messages.open(QBuffer::WriteOnly);
}

CommandFixture::~CommandFixture()
{
    QDir::setCurrent(m_previousFolder);
}

void CommandFixture::setVersion(const QString& version) const
{
    writeFile(path(u"Example.app/Contents/Info.plist"_s),
        "<plist version=\"1.0\"><dict><key>CFBundleVersion</key><string>" + version.toUtf8()
            + "</string></dict></plist>");
}

int CommandFixture::run(const QStringList& arguments)
{
    QTimer watchdog;
    watchdog.setSingleShot(true);
    QObject::connect(&watchdog, &QTimer::timeout, [] { QCoreApplication::exit(-1); });
    watchdog.start(60'000);
    return runVandor(arguments, host);
}

QList<QJsonObject> CommandFixture::events() const
{
    QList<QJsonObject> result;
    for (const QByteArray& line : m_results.data().trimmed().split('\n')) {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        EXPECT_EQ(object[u"schema"_s], u"vandor.build/1"_s) << line.toStdString();
        result += object;
    }
    return result;
}

QStringList CommandFixture::leftBehind() const
{
    const auto everything = QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot;
    QStringList result = QDir(path(u"tmp/vandor-%1"_s.arg(::getuid()))).entryList(everything);
    result.removeOne(u"lock"_s);
    for (const QString& folder : {u"."_s, u"out"_s})
        result += QDir(path(folder)).entryList({u".*"_s}, everything);
    return result;
}
