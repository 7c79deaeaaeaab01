#include "build/OutputName.h"

#include "platform/BundleInfo.h"
#include "platform/Paths.h"

#include <QDateTime>

using namespace Qt::StringLiterals;

namespace {

QString applicationName(const DMGConfig& job)
{
    if (!job.appURL)
        return u"App"_s;
    const QString bundle = lastPathComponent(*job.appURL);
    const qsizetype dot = bundle.lastIndexOf(u'.');
    return dot > 0 ? bundle.first(dot) : bundle;
}

QString applicationVersion(const DMGConfig& job)
{
    if (!job.appURL)
        return u"1.0"_s;
    const std::optional<BundleInfo> info = BundleInfo::read(job.appURL->toLocalFile());
    if (!info)
        return u"1.0"_s;
    for (const QString& key : {u"CFBundleShortVersionString"_s, u"CFBundleVersion"_s}) {
        if (const std::optional<QString> version = info->string(key))
            return *version;
    }
    return u"1.0"_s;
}

} // namespace

QString proposedOutputName(
    const QString& namingTemplate, const DMGConfig& job, const QDateTime& now)
{
    QString name = namingTemplate;
    name.replace("${APP_NAME}"_L1, applicationName(job));
    name.replace("${VERSION}"_L1, applicationVersion(job));
    name.replace("${DATE}"_L1, now.toString(u"yyyy-MM-dd"_s));
    name.replace(u'/', u'-');
    if (!name.endsWith(".dmg"_L1))
        name += ".dmg"_L1;
    return name;
}
