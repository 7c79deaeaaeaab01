#include "cli/BuildOptions.h"

#include "build/OutputName.h"
#include "cli/UsageError.h"
#include "model/SettingsManager.h"
#include "platform/Paths.h"

#include <CLI/CLI.hpp>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

constexpr double smallestWindow = 100; // points, each way
constexpr double largestWindow = 10'000;
constexpr qsizetype longestVolumeName = 255; // decomposed UTF-16 units, as HFS+ has them
constexpr qsizetype longestFileName = 255; // bytes

struct LayoutName {
    const char* name;
    IconLayout layout;
};
constexpr LayoutName layoutNames[] = {
    {"centered", IconLayout::centered},
    {"classic", IconLayout::classic},
    {"custom", IconLayout::custom},
};

const QStringList writableFormats{u"UDZO"_s, u"ULFO"_s, u"UDBZ"_s, u"ULMO"_s, u"UDRO"_s, u"UDRW"_s};

/// Bytes that are no UTF-8 have been lost by now; the path would be another than the one meant.
QString path(const std::string& typed)
{
    const QString text = QString::fromStdString(typed);
    if (text.contains(QChar::ReplacementCharacter))
        throw UsageError(u"the path “%1” is not UTF-8 text"_s.arg(text));
    return QDir::cleanPath(QDir::current().absoluteFilePath(text));
}

/// Two numbers with `separator` between them, each from `least` to `most`.
QPointF pair(
    const char* option, const std::string& typed, QChar separator, double least, double most)
{
    static const QRegularExpression number(u"^\\d{1,6}(\\.\\d{1,6})?$"_s);
    const QStringList parts = QString::fromStdString(typed).split(separator);
    bool isGood = parts.size() == 2;
    for (const QString& part : parts) {
        const double value = part.toDouble();
        isGood = isGood && number.match(part).hasMatch() && value >= least && value <= most;
    }
    if (!isGood) {
        throw UsageError(u"%1: “%2” is not two numbers from %3 to %4 with “%5” between them"_s.arg(
            QString::fromLatin1(option), QString::fromStdString(typed), QString::number(least),
            QString::number(most), separator));
    }
    return {parts[0].toDouble(), parts[1].toDouble()};
}

QUrl applicationAt(const std::string& typed)
{
    QFileInfo application(path(typed));
    // The image shall hold the bundle, not somebody's link to it.
    if (application.isSymLink())
        application.setFile(application.canonicalFilePath());
    if (!application.exists())
        throw UsageError(u"there is no application at “%1”"_s.arg(path(typed)));
    if (!application.isDir() || application.suffix() != "app"_L1)
        throw UsageError(u"“%1” is not an application: a folder whose name ends in .app"_s.arg(
            application.filePath()));
    return QUrl::fromLocalFile(application.filePath());
}

QUrl backgroundAt(const std::string& typed)
{
    QFileInfo picture(path(typed));
    if (picture.isSymLink()) // as above
        picture.setFile(picture.canonicalFilePath());
    if (!picture.isFile() || !QFile(picture.filePath()).open(QFile::ReadOnly))
        throw UsageError(u"the background “%1” is not a readable file"_s.arg(path(typed)));
    return QUrl::fromLocalFile(picture.filePath());
}

void checkVolumeName(const QString& name)
{
    static const QRegularExpression forbidden(
        u"[:\\x{0}\\n\\r\\x0B\\f\\x{85}\\x{2028}\\x{2029}]"_s);
    if (name.isEmpty())
        throw UsageError(u"the volume name is empty"_s);
    if (name.normalized(QString::NormalizationForm_D).size() > longestVolumeName)
        throw UsageError(
            u"the volume name is longer than 255 UTF-16 units, accents counted on their own"_s);
    if (name.back().isSpace())
        throw UsageError(u"the volume name “%1” ends with a blank"_s.arg(name));
    if (name == "."_L1 || name == ".."_L1 || forbidden.match(name).hasMatch())
        throw UsageError(u"a volume can't be named “%1”"_s.arg(name));
}

IconLayout layoutNamed(const std::string& typed)
{
    for (const LayoutName& row : layoutNames) {
        if (typed == row.name)
            return row.layout;
    }
    throw UsageError(
        u"--layout: there is no layout “%1”; there are centered, classic and custom"_s.arg(
            QString::fromStdString(typed)));
}

QString proposedOutput(const DMGConfig& job, const SettingsManager& settings, const QDateTime& now)
{
    const QDir folder(withHomeFolder(settings.defaultOutputDirectory()));
    const QString name = proposedOutputName(settings.namingTemplate(), job, now);
    return QDir::cleanPath(QDir::current().absoluteFilePath(folder.filePath(name)));
}

void checkOutput(const QString& output, const DMGConfig& job)
{
    const QFileInfo file(output);
    const QFileInfo folder(file.path());
    if (!output.endsWith(".dmg"_L1))
        throw UsageError(u"the output “%1” doesn't end in .dmg"_s.arg(output));
    if (QFile::encodeName(file.fileName()).size() > longestFileName)
        throw UsageError(u"the output's name is longer than 255 bytes"_s);
    if (!folder.isDir())
        throw UsageError(u"the folder “%1” for the output doesn't exist"_s.arg(folder.filePath()));
    if (!folder.isWritable())
        throw UsageError(u"the folder “%1” can't be written to"_s.arg(folder.filePath()));
    if (file.isDir() && !file.isSymLink())
        throw UsageError(u"the output “%1” is a folder"_s.arg(output));

    const QString bundle = QFileInfo(job.appURL->toLocalFile()).canonicalFilePath();
    if ((folder.canonicalFilePath() + u'/').startsWith(bundle + u'/'))
        throw UsageError(u"the output “%1” lies inside the application"_s.arg(output));
    if (job.backgroundURL && file.exists()
        && file.canonicalFilePath()
            == QFileInfo(job.backgroundURL->toLocalFile()).canonicalFilePath())
        throw UsageError(u"the output “%1” is the background"_s.arg(output));
}

} // namespace

void BuildOptions::addTo(CLI::App& command)
{
    const auto add = [&command](
                         const char* names, auto& value, const char* type, const char* text) {
        return command.add_option(names, value, text)->type_name(type);
    };
    const auto range = [](int least, int most) {
        return CLI::Range(least, most).description(""); // the option's own text has it in words
    };
    command.get_formatter()->column_width(32);
    command.get_formatter()->label("REQUIRED", "");
    add("APP", application, "", "The application bundle")->required();
    add("-o,--output", output, "PATH", "The image to write; without it, as the settings say");
    add("--volume-name", volumeName, "NAME", "Name of the volume and of its window");
    add("--background", background, "PATH",
        "Picture behind the icons; NAME@2x beside it is taken, too");
    add("--layout", layout, "NAME", "centered, classic or custom");
    add("--window", window, "WxH", "Size of the window's content, in points");
    add("--app-position", appPosition, "X,Y", "Place of the application's icon, in points");
    add("--applications-position", applicationsPosition, "X,Y", "Place of the Applications link");
    add("--icon-size", iconSize, "POINTS", "Size of the icons, 16 to 512")->check(range(16, 512));
    add("--text-size", textSize, "POINTS", "Size of the icons' names, 10 to 16")
        ->check(range(10, 16));
    const std::string formats = writableFormats.join(u", "_s).toStdString();
    add("--format", format, "CODE", ("Format of the image: " + formats).c_str());
    command.add_flag("--json", json, "Write events and the result as JSON, one object a line");
    command.add_flag("--quiet", quiet, "Write the result and failures only");
    command.add_flag("--verbose", verbose, "Write what the tools say of their progress, too");
}

DMGConfig BuildOptions::job(const SettingsManager& settings, const QDateTime& now) const
{
    if (quiet && verbose)
        throw UsageError(u"--quiet and --verbose exclude each other"_s);
    DMGConfig job = DMGConfig::newJob(settings);
    job.appURL = applicationAt(application);
    if (volumeName)
        job.volumeName = QString::fromStdString(*volumeName);
    checkVolumeName(job.volumeName);
    if (background)
        job.backgroundURL = backgroundAt(*background);

    if (window) {
        const QPointF size = pair("--window", *window, u'x', smallestWindow, largestWindow);
        job.resizeWidth(static_cast<qint64>(size.x()));
        job.resizeHeight(static_cast<qint64>(size.y()));
    }
    if (layout)
        job.chooseArrangement(layoutNamed(*layout));
    if (appPosition) {
        const QPointF place = pair("--app-position", *appPosition, u',', 0, largestWindow);
        job.moveAppX(place.x());
        job.moveAppY(place.y());
    }
    if (applicationsPosition) {
        const QPointF place =
            pair("--applications-position", *applicationsPosition, u',', 0, largestWindow);
        job.moveLinkX(place.x());
        job.moveLinkY(place.y());
    }
    job.iconSize = iconSize.value_or(job.iconSize);
    job.fontSize = textSize.value_or(job.fontSize);

    const QString target = output ? path(*output) : proposedOutput(job, settings, now);
    checkOutput(target, job);
    job.outputURL = QUrl::fromLocalFile(target);
    return job;
}

QString BuildOptions::formatCode(const QString& fallback) const
{
    QString code = format ? QString::fromStdString(*format).toUpper() : fallback;
    if (!writableFormats.contains(code))
        throw UsageError(u"there is no image format “%1”; this version writes %2"_s.arg(
            code, writableFormats.join(u", ")));
    return code;
}
