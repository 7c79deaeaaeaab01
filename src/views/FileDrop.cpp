#include "views/FileDrop.h"

#include <QDropEvent>
#include <QMimeData>

using namespace Qt::StringLiterals;

QList<QUrl> FileDrop::filesIn(const QMimeData& data)
{
    QList<QUrl> files;
    for (QUrl each : data.urls()) {
        if (each.isLocalFile()) {
            if (each.host() == "localhost"_L1) // as good as none
                each.setHost({});
            files.append(each);
        } else if (files.isEmpty()) {
            break;
        }
    }
    return files;
}

void FileDrop::takeCopy(QDropEvent& event)
{
    event.setDropAction(Qt::CopyAction);
    event.accept();
}
