#include "cli/Finding.h"

#include "cli/CommandReport.h"

#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

struct StateText {
    QStringView name;
    QStringView mark;
};

StateText textOf(Finding::State state)
{
    switch (state) {
    case Finding::State::passed:
        return {u"passed", u"✅"};
    case Finding::State::failed:
        return {u"failed", u"❌"};
    case Finding::State::skipped:
        return {u"skipped", u"❓"};
    }
    Q_UNREACHABLE();
}

QString indented(const QString& label, QString text)
{
    return u"\n     "_s + label + text.replace(u"\n"_s, u"\n     "_s);
}

} // namespace

void Finding::report(CommandReport& report) const
{
    const StateText text = textOf(state);
    const QString bare = said.trimmed();
    QString line = text.mark.toString() + u' ' + title;
    if (!bare.isEmpty() && state != State::passed)
        line += indented(u"Said: "_s, bare);
    if (state == State::failed)
        line += indented(u"Help: "_s, remedy);
    const QJsonValue help = state == State::failed ? QJsonValue(remedy) : QJsonValue();
    report.item(u"check"_s, line,
        {{u"check"_s, check}, {u"title"_s, title}, {u"state"_s, text.name.toString()},
            {u"said"_s, bare}, {u"remedy"_s, help}});
}
