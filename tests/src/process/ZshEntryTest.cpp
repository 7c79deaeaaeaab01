#include "ShellFixture.h"

using namespace Qt::StringLiterals;

namespace {

/// The toolbox's own zsh in a toolbox of scripts, at a path that a careless shell text breaks on.
class ZshEntryTest : public ShellFixture {
public:
    ZshEntryTest()
        : moved(SystemRoot(toolbox, scratch.path(u"state"_s)))
        , shell(moved)
    {
        for (const QString& file : {u"bin/zsh"_s, u"etc/zsh/.zshenv"_s}) {
            QDir().mkpath(QFileInfo(toolbox + u'/' + file).path());
            QFile::copy(u"" TOOLBOX_DIR "/"_s + file, toolbox + u'/' + file);
        }
        writeTool(u"/usr/bin/codesign"_s, "printf '<%s>' \"$@\"; echo said >&2; exit 7");
        writeTool(u"/usr/sbin/spctl"_s, "cat");
        scratch.write(folder + u"/usr/bin/plain"_s, "no program");
    }

    void writeTool(const QString& macPath, const QByteArray& text) const
    {
        const QString file = scratch.write(folder + macPath, "#!/bin/sh\n" + text);
        QFile::setPermissions(file, QFile::ReadOwner | QFile::ExeOwner);
    }

    QString run(const QString& command) { return await(shell.runSync(command)); }

    const QString folder = u"a 'b' $(c) [d]*/toolbox"_s;
    const QString toolbox = scratch.path(folder);
    HostToolRunner moved;
    ShellRunner shell;
};

TEST_F(ZshEntryTest, RunsTextsAsTheShellWouldWithTheToolsInPlace)
{
    struct Row {
        const char* name;
        QString command;
        QString output;
    };
    const Row rows[] = {
        {"arguments, status and streams", u"/usr/bin/codesign -dv \"a  b\" '' '*' 2>&1; print $?"_s,
            u"<-dv><a  b><><*>said\n7"_s},
        {"standard input", u"print typed | /usr/sbin/spctl"_s, u"typed"_s},
        {"in conditions and lists", u"/usr/bin/codesign x || print no"_s, u"<x>no"_s},
        {"within a substitution", u"print \"[$(/usr/bin/codesign x)]\""_s, u"[<x>]"_s},
        {"in a shell that a text starts", u"/bin/zsh -c '/usr/bin/codesign x; true'"_s, u"<x>"_s},
        {"other emulations", u"emulate sh; /usr/bin/codesign 'a b'; true"_s, u"<a b>"_s},
        {"its own name", u"print -r $0"_s, u"/bin/zsh"_s},
        {"no trace in the environment", u"env | grep -c ZDOTDIR; true"_s, u"0"_s},
        {"the host's other programs", u"/bin/echo here"_s, u"here"_s},
    };
    for (const Row& row : rows)
        EXPECT_EQ(run(row.command), row.output) << row.name;
    EXPECT_THROW(run(u"/usr/bin/plain"_s), ShellError) << "only programs are tools";
    try {
        run(u"/usr/bin/codesign x"_s);
        ADD_FAILURE() << "the tool's status is lost";
    } catch (const ShellError& error) {
        EXPECT_EQ(error.exitStatus(), 7);
        EXPECT_EQ(error.text(), u"<x>\nsaid\n"_s);
    }
}

TEST_F(ZshEntryTest, TheUsersOwnStartupFileIsReadAsEver)
{
    const QByteArray startup = "FROM=\"$ZDOTDIR.\"; alias function=oops eval=oops\n"
                               "setopt ksh_arrays; unset PATH\n";
    scratch.write(u"home/.zshenv"_s, startup);
    EXPECT_EQ(run(u"print -r $FROM; /usr/bin/codesign x; true"_s), u".\n<x>"_s);

    const QString other = scratch.path(u"other place"_s);
    scratch.write(u"other place/.zshenv"_s, "FROM=\"$ZDOTDIR.\"");
    qputenv("ZDOTDIR", QFile::encodeName(other));
    qputenv("VANDOR_ZDOTDIR", "/nowhere");
    EXPECT_EQ(run(u"print -r $FROM; /usr/bin/printenv ZDOTDIR VANDOR_ZDOTDIR; true"_s),
        other + u".\n"_s + other);
    qunsetenv("ZDOTDIR");
    EXPECT_EQ(run(u"/usr/bin/printenv ZDOTDIR VANDOR_ZDOTDIR; true"_s), u""_s);
    qunsetenv("VANDOR_ZDOTDIR");
}

TEST_F(ZshEntryTest, SaysWhenItsOwnFileIsMissing)
{
    QFile::remove(toolbox + u"/etc/zsh/.zshenv"_s);
    try {
        run(u"true"_s);
        ADD_FAILURE() << "runs without the tools";
    } catch (const ShellError& error) {
        EXPECT_EQ(error.exitStatus(), 127);
        EXPECT_TRUE(error.text().contains("/etc/zsh/.zshenv is missing"_L1));
    }
}

} // namespace
