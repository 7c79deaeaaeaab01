#include "Home.h"

#include "Visitor.h"

#include <QFile>
#include <QProcess>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

void run(const QString& program, const QStringList& arguments)
{
    if (QProcess::execute(program, arguments) != 0)
        Visitor::faults().append(u"failed: "_s + program + u' ' + arguments.join(u' '));
}

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        Visitor::faults().append(u"can't write "_s + path);
}

} // namespace

Home::Home()
    : m_folder(m_spare.path())
{
    const QString place = u"/home/jane"_s;
    if (QDir().mkdir(place)) // not where it exists
        m_folder.setPath(place);
    qputenv("HOME", QFile::encodeName(m_folder.path()));
    for (const char* name : {"Desktop", "Pictures", "Projects", ".cache", ".config"})
        m_folder.mkdir(QString::fromLatin1(name));
    for (const char* name : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
        qunsetenv(name);
    run(u"cp"_s, {u"-a"_s, QStringLiteral(SAMPLES_DIR "/Hello Vandor.app"), good()});
    run(u"cp"_s, {u"-a"_s, good(), bad()});
    run(u"cp"_s, {QStringLiteral(SAMPLES_DIR "/background.png"), background()});
    write(bad() + u"/Contents/MacOS/Hello Vandor"_s, "no program");
    ::mkfifo(QFile::encodeName(bad() + u"/Contents/Resources/pipe"_s).constData(), 0600);
    write(badImage(), "no image");
    run(QStringLiteral(TOOLBOX_DIR "/usr/bin/security"),
        {u"create-identity"_s, u"Jane Doe"_s, u"ABCDE12345"_s});
}

Home::~Home()
{
    m_folder.removeRecursively();
}
