#include "cli/Rehearsal.h"

using namespace Qt::StringLiterals;

bool isRehearsal(const QString& said)
{
    return said.contains("note=local stand-in"_L1)
        || said.contains("note=signed with a local rehearsal certificate"_L1);
}

QString readyLine(bool isOfRehearsal)
{
    const QString line = u"Ready for Distribution!"_s;
    return isOfRehearsal ? line
            + u" (A rehearsal: this machine's own authority answers for it, and no Mac trusts "
              u"that.)"_s
                         : line;
}
