#include "platform/Pasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

void Pasteboard::copy(const QString& text)
{
    QGuiApplication::clipboard()->setText(text);
}
