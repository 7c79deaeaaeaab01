#include "build/BuildTools.h"

#include <QRegularExpression>
#include <QStringDecoder>

using namespace Qt::StringLiterals;

namespace {

const QString hdiutil = u"/usr/bin/hdiutil"_s;
const QString diskutil = u"/usr/sbin/diskutil"_s;

} // namespace

namespace BuildTools {

ToolCall unmountByForce(const QString& mountPoint)
{
    ToolCall call;
    call.program = diskutil;
    call.arguments = {u"unmount"_s, u"force"_s, mountPoint};
    call.captureError = true;
    return call;
}

ToolCall createWritableImage(
    const QString& volumeName, const QString& sourceFolder, const QString& image)
{
    ToolCall call;
    call.program = hdiutil;
    call.arguments = {u"create"_s, u"-volname"_s, volumeName, u"-srcfolder"_s, sourceFolder,
        u"-ov"_s, u"-format"_s, u"UDRW"_s, image};
    call.captureError = true;
    return call;
}

ToolCall attach(const QString& image)
{
    ToolCall call;
    call.program = hdiutil;
    call.arguments = {u"attach"_s, u"-readwrite"_s, u"-noverify"_s, u"-noautoopen"_s, image};
    call.captureOutput = true;
    call.captureError = true;
    return call;
}

ToolCall markCustomIcon(const QString& mountPoint)
{
    ToolCall call;
    call.program = u"/usr/bin/SetFile"_s;
    call.arguments = {u"-a"_s, u"C"_s, mountPoint};
    return call;
}

ToolCall detach(const QString& mountPoint)
{
    ToolCall call;
    call.program = hdiutil;
    call.arguments = {u"detach"_s, mountPoint};
    call.captureError = true;
    call.evenWhenInterrupted = true;
    return call;
}

ToolCall flushDisks()
{
    ToolCall call;
    call.program = u"/bin/sync"_s;
    return call;
}

ToolCall eject(const QString& mountPoint)
{
    ToolCall call;
    call.program = diskutil;
    call.arguments = {u"quiet"_s, u"eject"_s, mountPoint};
    call.evenWhenInterrupted = true;
    return call;
}

ToolCall convert(const QString& image, const QString& format, const QString& output)
{
    ToolCall call;
    call.program = hdiutil;
    call.arguments = {u"convert"_s, image, u"-format"_s, format, u"-o"_s, output};
    call.captureError = true;
    return call;
}

std::optional<QString> textIn(const QByteArray& output)
{
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    QString text = decoder(output);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

QString errorTextIn(const QByteArray& standardError)
{
    return textIn(standardError).value_or(u"Unknown Error"_s);
}

std::optional<QString> mountPointIn(const QByteArray& attachOutput)
{
    const std::optional<QString> text = textIn(attachOutput);
    if (!text)
        return std::nullopt;
    // Every character that Unicode counts as the end of a line also ends it here.
    static const QRegularExpression lineBreak(u"[\\n\\x0B\\f\\r\\x{85}\\x{2028}\\x{2029}]"_s);
    for (const QString& line : text->split(lineBreak)) {
        const qsizetype start = line.indexOf("/Volumes/"_L1);
        if (start >= 0)
            return line.sliced(start).trimmed();
    }
    return std::nullopt;
}

} // namespace BuildTools
