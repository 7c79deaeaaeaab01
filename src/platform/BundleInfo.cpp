#include "platform/BundleInfo.h"

#include "platform/PropertyList.h"

#include <QFile>
#include <QFileInfo>

#include <utility>

using namespace Qt::StringLiterals;

std::optional<BundleInfo> BundleInfo::read(const QString& bundlePath)
{
    QFile file(bundlePath + u"/Contents/Info.plist"_s);
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly)) // opening a pipe would wait
        return std::nullopt;
    constexpr qint64 largest = 16 << 20;
    std::optional<QVariantMap> values = PropertyList::parse(file.read(largest));
    if (!values)
        return std::nullopt;
    return BundleInfo(*std::move(values));
}

BundleInfo::BundleInfo(QVariantMap values)
    : m_values(std::move(values))
{ }

std::optional<QString> BundleInfo::string(const QString& key) const
{
    const QVariant value = m_values.value(key);
    if (value.typeId() != QMetaType::QString)
        return std::nullopt;
    return value.toString();
}
