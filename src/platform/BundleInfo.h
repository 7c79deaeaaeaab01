#pragma once

#include <QString>
#include <QVariantMap>

#include <optional>

/// The information dictionary of a bundle, `Contents/Info.plist`.
class BundleInfo {
public:
    /// Nothing when the bundle has no such file or the file is no property list (XML or binary)
    /// whose root is a dictionary. `bundlePath` is the host's.
    static std::optional<BundleInfo> read(const QString& bundlePath);

    /// The value of `key` if it is text.
    std::optional<QString> string(const QString& key) const;
    const QVariantMap& values() const { return m_values; }

private:
    explicit BundleInfo(QVariantMap values);

    QVariantMap m_values;
};
