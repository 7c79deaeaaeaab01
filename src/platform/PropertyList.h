#pragma once

#include <QByteArray>
#include <QVariantMap>

#include <optional>

/// Property lists whose root is a dictionary. Strings are QString, Booleans bool, integers qint64,
/// reals double, data QByteArray, dates QDateTime (UTC), arrays QVariantList, dictionaries
/// QVariantMap; unique identifiers are left out.
class PropertyList {
public:
    /// Reads the XML and the binary form. Nothing for other bytes, another root, and for nesting
    /// or sizes that no honest file has.
    static std::optional<QVariantMap> parse(const QByteArray& bytes);
    /// The binary form, in which reals keep every bit. Values of other types are left out.
    static QByteArray binary(const QVariantMap& values);
};
